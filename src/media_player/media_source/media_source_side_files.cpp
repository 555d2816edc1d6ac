// SPDX-License-Identifier: GPL-3.0-or-later
#include <cassert>
#include <exception>
#include <utility>

#include "media_player/media_source/media_source_contents.h"
#include "media_player/media_source/packet_text_encoding.h"
#include "media_player/media_source/script_slices.h"
#include "media_player/media_source/subtitles_text_file.h"

namespace zelvane {
namespace {

using LoadError = MediaSource::LoadError;

/// A demuxer of text has read the whole file and is at its start.
void appendPackets(AVFormatContext& context, TextPackets& packets) {
    try {
        while (const PacketRef packet = readPacket({0}, context)) {
            packets.append(packet->avPacket());
        }
    } catch (const FFmpegError&) {
        // The rest of the text is lost. The caller checks whether there is any packet.
    }
}

/// Reads the packets of a text and returns its demuxer, or the first one of several.
InputFormatContext openText(const URL& url, std::string text, std::optional<TextPackets>& packets) {
    packets.emplace(text.size());
    std::optional<InputFormatContext> first;
    ScriptSlices slices(std::move(text));
    while (auto slice = slices.next()) {
        auto input =
            makeInputFormatContext(url, std::make_unique<MemoryInput>(std::exchange(*slice, {})));
        appendPackets(*input, *packets);
        if (!first) {
            first.emplace(std::move(input));
        }
    }
    packets->finish();
    return *std::move(first);
}

/// Opens a side file for its subtitles. Text of any encoding is read as UTF-8.
void openSideFile(MediaSource::Contents& contents) {
    try {
        auto text = readSubtitlesText(contents.url);
        contents.contexts.visual =
            text ? openText(contents.url, std::move(text->text), contents.textPackets)
                 : makeInputFormatContext(contents.url);
        contents.textEncoding = text ? std::move(text->encoding) : std::nullopt;
    } catch (const Error&) {
        throw LoadError::failedToOpenURL(contents.url, std::current_exception());
    }
}

void seekSideFileToStart(AVFormatContext& context) {
    try {
        seekToStart(context);
    } catch (const Error&) {
        throw LoadError::failedToSeek(std::current_exception());
    }
}

void appendSubtitlesTracks(MediaSource::Contents& contents) {
    const AVFormatContext& context = *contents.contexts.visual;
    for (unsigned index = 0; index < context.nb_streams; ++index) {
        [[maybe_unused]] const bool isTrack = appended(contents.subtitlesTracks, [&] {
            return std::make_shared<SubtitlesTrack>(contents.id, *context.streams[index], nullptr);
        });
    }
    if (contents.subtitlesTracks.empty()) {
        throw LoadError::noDecodableTracks({MediaType::subtitles});
    }
}

/// None for a file that cannot be identified, which is then attached again each time.
std::optional<FileResourceIdentifier> identifierOf(const URL& url) {
    try {
        return FileResourceIdentifier::of(url);
    } catch (const Error&) {
        return std::nullopt;
    }
}

} // namespace

MediaSource::ExternalSubtitles MediaSource::openExternalSubtitles(const URL& url,
                                                                  const CMTime& fallbackDuration) {
    requireFileURL(url);
    Contents contents{.url = url, .contexts = {}};
    openSideFile(contents);
    const AVFormatContext& context = *contents.contexts.visual;
    contents.startTime = startTimeOf(context);
    contents.duration = durationOf(context, fallbackDuration, false);
    appendSubtitlesTracks(contents);
    if (contents.textPackets && !contents.textPackets->isEmpty()) {
        // The decoders have copied what they need of the demuxer.
        const InputFormatContext closed = std::exchange(contents.contexts.visual, {});
    } else {
        seekSideFileToStart(*contents.contexts.visual);
    }
    ExternalSubtitles external{std::make_shared<MediaSource>(std::move(contents)), {}};
    for (const auto& track : external.mediaSource->embeddedSubtitlesTracks()) {
        external.externalSubtitlesTracks.push_back(
            std::make_shared<ExternalSubtitlesTrack>(external.mediaSource, track));
    }
    external.mediaSource->visualTracksQueue()->sync(
        [&] { external.mediaSource->detectCharacterEncodings(); });
    return external;
}

void MediaSource::addExternalSubtitles(const URL& url, ExternalSubtitlesHandler successHandler,
                                       FailureHandler failureHandler) {
    const auto queue = dispatch::globalQueue(dispatch::QualityOfService::userInitiated);
    queue->async([self = shared_from_this(), url, successHandler = std::move(successHandler),
                  failureHandler = std::move(failureHandler)] {
        ExternalSubtitlesTracks tracks;
        if (const auto error = loadErrorOf(url, [&] { tracks = self->attachSideFile(url, {}); })) {
            failureHandler(*error);
        } else {
            successHandler(tracks);
        }
    });
}

ExternalSubtitlesTracks
MediaSource::attachSideFile(const URL& url,
                            const std::function<void(const ExternalSubtitles&)>& prepare) {
    const auto identifier = identifierOf(url);
    ExternalSubtitles external = openExternalSubtitles(url, duration());
    if (prepare) {
        prepare(external);
    }
    return attach(identifier, std::move(external));
}

ExternalSubtitlesTracks MediaSource::attach(const std::optional<FileResourceIdentifier>& identifier,
                                            ExternalSubtitles external) {
    if (!identifier) {
        appendExternalSubtitles(external);
        return external.externalSubtitlesTracks;
    }
    return fileResourceIdentifierToExternalSubtitlesMap_.withLock([&](Attached& attached) {
        const auto [entry, isNew] = attached.try_emplace(*identifier, std::move(external));
        if (isNew) {
            appendExternalSubtitles(entry->second);
        }
        return entry->second.externalSubtitlesTracks;
    });
}

void MediaSource::appendExternalSubtitles(const ExternalSubtitles& external) {
    externalSubtitlesTracks_.withLock([&](ExternalSubtitlesTracks& tracks) {
        tracks.insert(tracks.end(), external.externalSubtitlesTracks.begin(),
                      external.externalSubtitlesTracks.end());
    });
    auto observer = NotificationCenter::shared().addObserver(
        std::string(kRestorableStateWasInvalidatedNotification), external.mediaSource.get(),
        nullptr, [weakSelf = weak_from_this()](const Notification&) {
            if (const auto self = weakSelf.lock()) {
                self->invalidateRestorableState();
            }
        });
    externalMediaSources_.withLock([&](auto& sources) { sources.push_back(external.mediaSource); });
    externalSubtitlesObservers_.withLock(
        [&](auto& observers) { observers.push_back(std::move(observer)); });
    invalidateRestorableState();
}

void MediaSource::invalidateRestorableState() const {
    NotificationCenter::shared().post(
        {std::string(kRestorableStateWasInvalidatedNotification), this, {}});
}

void MediaSource::detectCharacterEncodings() {
    assert(visualTracksQueue_->isCurrent());
    // Text files were converted to UTF-8 when they were opened.
    if (textPackets_) {
        return;
    }
    if (detectPacketEncodings(embeddedSubtitlesTracks_, *formatContextForVisualTracks_)) {
        seekSideFileToStart(*formatContextForVisualTracks_);
    }
}

} // namespace zelvane
