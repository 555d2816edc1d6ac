// SPDX-License-Identifier: GPL-3.0-or-later
#include "media_player/media_source/media_source.h"

#include <cassert>
#include <utility>

#include <fmt/format.h>

#include "core_media/ffmpeg_time.h"
#include "foundation/log.h"
#include "foundation/uuid.h"
#include "media_player/decoders/audio/ffmpeg_audio_decoder.h"
#include "media_player/media_source/packet_text_encoding.h"
#include "media_player/media_source/script_slices.h"
#include "media_player/media_source/stepping_back.h"
#include "media_player/media_source/subtitles_text_file.h"

namespace zelvane {

struct MediaSource::Contents {
    std::string id = makeUUIDString();
    URL url;
    InputFormatContexts contexts;
    CMTime startTime{};
    CMTime duration{};
    std::vector<std::shared_ptr<VideoTrack>> videoTracks{};
    std::vector<std::shared_ptr<AudioTrack>> audioTracks{};
    SubtitlesTracks subtitlesTracks{};
    OptionalMetadata optionalMetadata{};
    std::optional<std::string> textEncoding{};
    std::optional<TextPackets> textPackets{};
};

namespace {

using LoadError = MediaSource::LoadError;

/// Packets are found by when they are decoded, and the first picture may be decoded this long
/// before the media begins.
constexpr CMTime kLongestDecodingDelay(10, 1);

/// A picture of Blu-ray's subtitles (PGS) builds on others of its epoch, which lasts as long as
/// some lines of dialogue.
constexpr CMTime kLongestEpoch(10, 1);

/// What decoders of overlapping, predicted or pooled bits (MDCT, SBR, MP3's reservoir, Opus) take
/// to give the samples of a straight decode. Decoding it costs less than a millisecond.
constexpr CMTime kAudioPreroll(1, 2);

void requireFileURL(const URL& url) {
    if (!url.isFileURL()) {
        throw LoadError::unsupportedURLScheme(url.scheme());
    }
}

InputFormatContexts openBoth(const URL& url) {
    try {
        return makeInputFormatContexts(url);
    } catch (const Error&) {
        throw LoadError::failedToOpenURL(url, std::current_exception());
    }
}

void requireSameContainer(const AVFormatContext& visual, const AVFormatContext& audio) {
    if (!isSameContainer(visual, audio)) {
        throw LoadError::inconsistentReads();
    }
}

void requireSameStream(const AVStream& visual, const AVStream& audio) {
    if (visual.codecpar->codec_id != audio.codecpar->codec_id ||
        av_cmp_q(visual.time_base, audio.time_base) != 0) {
        throw LoadError::inconsistentReads();
    }
}

CMTime durationOf(const AVFormatContext& context, const std::optional<CMTime>& fallbackDuration,
                  bool isDurationRequired) {
    if (const auto duration = timeFromStamp(context.duration, av_get_time_base_q())) {
        return *duration;
    }
    if (isDurationRequired) {
        throw LoadError::failedToReadMediaDuration();
    }
    return fallbackDuration.value_or(kCMTimeIndefinite);
}

/// Appends the track that `make` returns; false when the stream is of another kind or cannot be
/// decoded.
template <class Track, class Make>
bool appended(std::vector<std::shared_ptr<Track>>& tracks, Make&& make) {
    try {
        tracks.push_back(make());
        return true;
    } catch (const Error&) {
        return false;
    }
}

/// Keeps the stream as a track of the first kind that it can be, or not at all.
void appendTrack(MediaSource::Contents& contents, const AVStream& visual, const AVStream& audio) {
    [[maybe_unused]] const bool isTrack =
        appended(contents.videoTracks,
                 [&] { return std::make_shared<VideoTrack>(contents.id, visual); }) ||
        appended(contents.audioTracks,
                 [&] {
                     auto decoder = std::make_unique<FFmpegAudioDecoder>(audio);
                     return std::make_shared<AudioTrack>(contents.id, audio, std::move(decoder));
                 }) ||
        appended(contents.subtitlesTracks,
                 [&] { return std::make_shared<SubtitlesTrack>(contents.id, visual, nullptr); });
}

void appendTracks(MediaSource::Contents& contents) {
    const AVFormatContext& visual = *contents.contexts.visual;
    const AVFormatContext& audio = *contents.contexts.audio;
    for (unsigned index = 0; index < visual.nb_streams; ++index) {
        requireSameStream(*visual.streams[index], *audio.streams[index]);
        appendTrack(contents, *visual.streams[index], *audio.streams[index]);
    }
    if (contents.videoTracks.empty() && contents.audioTracks.empty() &&
        contents.subtitlesTracks.empty()) {
        throw LoadError::noDecodableTracks({kAllMediaTypes.begin(), kAllMediaTypes.end()});
    }
}

MediaType mediaTypeOf(const std::vector<std::shared_ptr<VideoTrack>>& videoTracks,
                      const std::vector<std::shared_ptr<AudioTrack>>& audioTracks) {
    if (!videoTracks.empty()) {
        return MediaType::video;
    }
    return audioTracks.empty() ? MediaType::subtitles : MediaType::audio;
}

/// Probing has left them anywhere.
void seekBothToStart(const InputFormatContexts& contexts) {
    try {
        seekToStart(*contexts.visual);
        seekToStart(*contexts.audio);
    } catch (const Error&) {
        throw LoadError::failedToSeek(std::current_exception());
    }
}

/// A demuxer of text has read it all by now, and stands at its start.
void appendPackets(AVFormatContext& context, TextPackets& packets) {
    try {
        while (const PacketRef packet = readPacket({0}, context)) {
            packets.append(packet->avPacket());
        }
    } catch (const FFmpegError&) {
        // What it cannot read is lost. Whether anything is there, the caller sees.
    }
}

/// Takes the packets of a text from its demuxer, and leaves it open, or the first one of several.
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

/// Opens a side file for its subtitles. Text is read as UTF-8, whatever it is written in.
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

/// Whether one subtitle is several packets outside of containers that gather them: palette, objects
/// and composition. A seek finds the last of them.
bool comesInPieces(const AVStream& stream) {
    return stream.codecpar->codec_id == AV_CODEC_ID_HDMV_PGS_SUBTITLE;
}

MediaTracks visualTracks(const std::shared_ptr<VideoTrack>& videoTrack,
                         const SubtitlesTracks& subtitlesTracks) {
    MediaTracks tracks(subtitlesTracks.begin(), subtitlesTracks.end());
    if (videoTrack) {
        tracks.insert(tracks.begin(), videoTrack);
    }
    return tracks;
}

StreamIndexes streamIndexes(const MediaTracks& tracks) {
    StreamIndexes indexes;
    for (const auto& track : tracks) {
        indexes.push_back(static_cast<int>(track->streamIndex()));
    }
    return indexes;
}

} // namespace

std::shared_ptr<MediaSource> MediaSource::open(const URL& url,
                                               const std::optional<CMTime>& fallbackDuration,
                                               bool isDurationRequired) {
    requireFileURL(url);
    return open(url, openBoth(url), fallbackDuration, isDurationRequired);
}

std::shared_ptr<MediaSource> MediaSource::open(const URL& url, InputFormatContexts contexts,
                                               const std::optional<CMTime>& fallbackDuration,
                                               bool isDurationRequired) {
    Contents contents{.url = url, .contexts = std::move(contexts)};
    const AVFormatContext& visual = *contents.contexts.visual;
    requireSameContainer(visual, *contents.contexts.audio);
    contents.startTime =
        timeFromStamp(visual.start_time, av_get_time_base_q()).value_or(kCMTimeZero);
    contents.duration = durationOf(visual, fallbackDuration, isDurationRequired);
    appendTracks(contents);
    seekBothToStart(contents.contexts);
    contents.optionalMetadata =
        OptionalMetadata(mediaTypeOf(contents.videoTracks, contents.audioTracks), visual.metadata,
                         findArtwork(visual));
    return std::make_shared<MediaSource>(std::move(contents));
}

void MediaSource::load(const URL& url, SuccessHandler successHandler,
                       FailureHandler failureHandler) {
    const auto queue = dispatch::globalQueue(dispatch::QualityOfService::userInitiated);
    const auto source = std::make_shared<std::shared_ptr<MediaSource>>();
    const dispatch::Group group;
    group.enter();
    queue->async([=, failureHandler = std::move(failureHandler)] {
        try {
            *source = open(url, std::nullopt, true);
        } catch (const LoadError& error) {
            failureHandler(error);
        } catch (const std::exception& error) {
            fatalError(fmt::format("Caught error that is not of type `MediaSource.LoadError`: {}.",
                                   error.what()));
        }
        group.leave();
    });
    group.notify(queue, [source, successHandler = std::move(successHandler)] {
        if (*source) {
            successHandler(*source);
        }
    });
}

MediaSource::ExternalSubtitles MediaSource::openExternalSubtitles(const URL& url,
                                                                  const CMTime& fallbackDuration) {
    requireFileURL(url);
    Contents contents{.url = url, .contexts = {}};
    openSideFile(contents);
    const AVFormatContext& context = *contents.contexts.visual;
    contents.startTime =
        timeFromStamp(context.start_time, av_get_time_base_q()).value_or(kCMTimeZero);
    contents.duration = durationOf(context, fallbackDuration, false);
    appendSubtitlesTracks(contents);
    if (contents.textPackets && !contents.textPackets->isEmpty()) {
        // The decoders have what they need of it.
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
        try {
            tracks = self->attach(openExternalSubtitles(url, self->duration()));
        } catch (const LoadError& error) {
            failureHandler(error);
            return;
        }
        successHandler(tracks);
    });
}

ExternalSubtitlesTracks MediaSource::attach(ExternalSubtitles external) {
    std::optional<FileResourceIdentifier> identifier;
    try {
        identifier = FileResourceIdentifier::of(external.mediaSource->url());
    } catch (const Error&) {
        // A file that has gone meanwhile is shown all the same; it cannot be told from another.
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
    // A file of text is UTF-8 by now.
    if (textPackets_) {
        return;
    }
    if (detectPacketEncodings(embeddedSubtitlesTracks_, *formatContextForVisualTracks_)) {
        seekSideFileToStart(*formatContextForVisualTracks_);
    }
}

SubtitlesTracks MediaSource::subtitlesTracks() const {
    SubtitlesTracks tracks = embeddedSubtitlesTracks_;
    const auto external = externalSubtitlesTracks();
    tracks.insert(tracks.end(), external.begin(), external.end());
    return tracks;
}

MediaSource::MediaSource(Contents contents)
    : id_(std::move(contents.id)), url_(std::move(contents.url)), startTime_(contents.startTime),
      duration_(contents.duration), videoTracks_(std::move(contents.videoTracks)),
      audioTracks_(std::move(contents.audioTracks)),
      embeddedSubtitlesTracks_(std::move(contents.subtitlesTracks)),
      optionalMetadata_(std::move(contents.optionalMetadata)),
      textEncoding_(std::move(contents.textEncoding)),
      visualTracksQueue_(dispatch::makeSerialQueue("Media Source Queue (Visual Tracks)")),
      audioTracksQueue_(dispatch::makeSerialQueue("Media Source Queue (Audio Tracks)")),
      textPackets_(std::move(contents.textPackets)),
      formatContextForAudioTracks_(std::move(contents.contexts.audio)),
      formatContextForVisualTracks_(std::move(contents.contexts.visual)) {}

MediaSource::~MediaSource() = default;

MediaType MediaSource::mediaType() const {
    return mediaTypeOf(videoTracks_, audioTracks_);
}

PacketRef MediaSource::readAudioPacket(const std::shared_ptr<AudioTrack>& track) {
    assert(audioTracksQueue_->isCurrent());
    return readPacket({static_cast<int>(track->streamIndex())}, *formatContextForAudioTracks_);
}

std::optional<PacketSource::TrackPacket>
MediaSource::readVisualPacket(const std::shared_ptr<VideoTrack>& videoTrack,
                              const SubtitlesTracks& subtitlesTracks) {
    assert(visualTracksQueue_->isCurrent());
    const MediaTracks tracks = visualTracks(videoTrack, subtitlesTracks);
    if (tracks.empty()) {
        return std::nullopt;
    }
    PacketRef packet = textPackets_
                           ? textPackets_->next()
                           : readPacket(streamIndexes(tracks), *formatContextForVisualTracks_);
    if (!packet) {
        return std::nullopt;
    }
    auto track = trackOf(*packet, tracks);
    return TrackPacket{std::move(packet), std::move(track)};
}

std::vector<PacketRef> MediaSource::seekAudio(const std::shared_ptr<AudioTrack>& track,
                                              const CMTime& time) {
    assert(audioTracksQueue_->isCurrent());
    AVFormatContext& context = *formatContextForAudioTracks_;
    const StreamIndexes audio{static_cast<int>(track->streamIndex())};
    // A demuxer seeks by its default stream, the video: its index has to be usable.
    StreamIndexes steering = audio;
    for (const auto& videoTrack : videoTracks_) {
        steering.push_back(static_cast<int>(videoTrack->streamIndex()));
    }
    const CMTime prerolled = time - kAudioPreroll;
    CollectedPackets collected;
    stepBackUntil(prerolled, startTime_, [&](const CMTime& from) {
        setEnabledStreams(steering, context);
        seek(context, placeOf(from));
        collected = collectPackets(
            track, {}, time, [&] { return readPacket(audio, context); }, kAudioPreroll);
        return beginsInTime(collected, track, prerolled);
    });
    return collected.empty() ? std::vector<PacketRef>() : std::move(collected.front().second);
}

PacketSource::CollectedPackets
MediaSource::seekVisual(const std::shared_ptr<VideoTrack>& videoTrack,
                        const SubtitlesTracks& subtitlesTracks, const CMTime& time) {
    assert(visualTracksQueue_->isCurrent());
    if (textPackets_) {
        return seekText(subtitlesTracks, time);
    }
    AVFormatContext& context = *formatContextForVisualTracks_;
    const MediaTracks tracks = visualTracks(videoTrack, subtitlesTracks);
    if (!videoTrack) {
        seekSubtitlesAlone(tracks, time);
        return {};
    }
    const StreamIndexes indexes = streamIndexes(tracks);
    CollectedPackets collected;
    stepBackUntil(time, startTime_, [&](const CMTime& from) {
        setEnabledStreams(steeringStreams(tracks, from), context);
        seek(context, placeOf(from));
        collected = collectPackets(videoTrack, {subtitlesTracks.begin(), subtitlesTracks.end()},
                                   time, [&] { return readPacket(indexes, context); });
        return beginsInTime(collected, videoTrack, time);
    });
    return collected;
}

std::optional<PacketSource::CollectedPackets>
MediaSource::readVisualOn(const std::shared_ptr<VideoTrack>& videoTrack,
                          const SubtitlesTracks& subtitlesTracks, const CMTime& from,
                          const CMTime& time) {
    assert(visualTracksQueue_->isCurrent());
    if (textPackets_ || !videoTrack) {
        return std::nullopt;
    }
    AVFormatContext& context = *formatContextForVisualTracks_;
    if (!isFreeOfKeyframes(from, time, *videoTrack, context)) {
        return std::nullopt;
    }
    const StreamIndexes indexes = streamIndexes(visualTracks(videoTrack, subtitlesTracks));
    auto collected = collectPackets(videoTrack, {subtitlesTracks.begin(), subtitlesTracks.end()},
                                    time, [&] { return readPacket(indexes, context); });
    // The index may have been wrong.
    return beginsWithKeyframe(collected, videoTrack) ? std::nullopt
                                                     : std::optional(std::move(collected));
}

void MediaSource::seekSubtitlesAlone(const MediaTracks& tracks, const CMTime& time) {
    AVFormatContext& context = *formatContextForVisualTracks_;
    setEnabledStreams(steeringStreams(tracks, time), context);
    seek(context, placeOf(time));
    for (const auto& track : tracks) {
        if (!comesInPieces(*context.streams[track->streamIndex()])) {
            continue;
        }
        // Only now does the index reach that far.
        const CMTime epoch = keyframeTimeBefore(time, *track).value_or(time) - kLongestEpoch;
        // Of the pieces of one time the library's own index knows the last alone: what begins with
        // the first subtitle begins with the file.
        const bool isBeforeTheIndex = !keyframeTimeBefore(epoch, *track);
        if (!isBeforeTheIndex || !seekToFirstByte(context)) {
            seek(context, placeOf(epoch));
        }
    }
}

CMTime MediaSource::placeOf(const CMTime& time) const {
    return time <= startTime_ ? startTime_ - kLongestDecodingDelay : time;
}

PacketSource::CollectedPackets MediaSource::seekText(const SubtitlesTracks& subtitlesTracks,
                                                     const CMTime& time) {
    if (subtitlesTracks.empty()) {
        return {};
    }
    const auto& track = subtitlesTracks.front();
    return {{track, textPackets_->seek(stampFromTime(time, track->streamTimeBase()))}};
}

StreamIndexes MediaSource::steeringStreams(const MediaTracks& tracks, const CMTime& time) {
    std::vector<TrackKeyframe> keyframes;
    for (const auto& track : tracks) {
        keyframes.push_back(
            {static_cast<int>(track->streamIndex()), keyframeTimeBefore(time, *track)});
    }
    const auto steering = steeringStream(keyframes, time);
    return steering ? StreamIndexes{*steering} : streamIndexes(tracks);
}

std::optional<CMTime> MediaSource::keyframeTimeBefore(const CMTime& time, const MediaTrack& track) {
    assert(visualTracksQueue_->isCurrent());
    return textPackets_ ? std::nullopt : keyframeTime(time, track, *formatContextForVisualTracks_);
}

} // namespace zelvane
