// SPDX-License-Identifier: GPL-3.0-or-later
#include <utility>

#include "foundation/log.h"
#include "media_player/decoders/audio/ffmpeg_audio_decoder.h"
#include "media_player/media_source/media_source_contents.h"

namespace zelvane {
namespace {

using LoadError = MediaSource::LoadError;

InputFormatContexts openBoth(const URL& url, const LoadInterruption& interruption) {
    try {
        return makeInputFormatContexts(url, interruption);
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

/// Appends the stream as a track of the first kind that accepts it; ignores a stream that none
/// accepts.
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

/// Replaces both contexts by new ones, which are read from their position after opening.
void reopen(MediaSource::Contents& contents) {
    auto contexts = openBoth(contents.url, contents.contexts.visual.interruption());
    requireSameContainer(*contexts.visual, *contexts.audio);
    requireSameContainer(*contexts.visual, *contents.contexts.visual);
    contents.contexts = std::move(contexts);
}

/// Probing leaves the contexts at an unknown position. A file that cannot be sought is opened
/// again.
void moveBothToStart(MediaSource::Contents& contents) {
    try {
        AVFormatContext& audio = *contents.contexts.audio;
        seekToStart(*contents.contexts.visual);
        seekToStart(audio, indexedStream(AVMEDIA_TYPE_AUDIO, audio));
    } catch (const Error&) {
        if (contents.videoTracks.empty() && contents.audioTracks.empty()) {
            throw LoadError::failedToSeek(std::current_exception());
        }
        contents.isSeekable = false;
    }
    if (!contents.isSeekable) {
        reopen(contents);
    }
}

} // namespace

void requireFileURL(const URL& url) {
    if (!url.isFileURL()) {
        throw LoadError::unsupportedURLScheme(url.scheme());
    }
}

CMTime startTimeOf(const AVFormatContext& context) {
    return timeFromStamp(context.start_time, av_get_time_base_q()).value_or(kCMTimeZero);
}

CMTime durationOf(const AVFormatContext& context, const std::optional<CMTime>& fallbackDuration,
                  bool isDurationRequired) {
    const auto duration = timeFromStamp(context.duration, av_get_time_base_q());
    // A damaged header can state a negative one, in which no seek is possible.
    if (duration && *duration >= kCMTimeZero) {
        return *duration;
    }
    if (isDurationRequired) {
        throw LoadError::failedToReadMediaDuration();
    }
    return fallbackDuration.value_or(kCMTimeIndefinite);
}

MediaType mediaTypeOf(const std::vector<std::shared_ptr<VideoTrack>>& videoTracks,
                      const std::vector<std::shared_ptr<AudioTrack>>& audioTracks) {
    if (!videoTracks.empty()) {
        return MediaType::video;
    }
    return audioTracks.empty() ? MediaType::subtitles : MediaType::audio;
}

std::shared_ptr<MediaSource> MediaSource::open(const URL& url,
                                               const std::optional<CMTime>& fallbackDuration,
                                               bool isDurationRequired,
                                               const LoadInterruption& interruption) {
    requireFileURL(url);
    return open(url, openBoth(url, interruption), fallbackDuration, isDurationRequired);
}

std::shared_ptr<MediaSource> MediaSource::open(const URL& url, InputFormatContexts contexts,
                                               const std::optional<CMTime>& fallbackDuration,
                                               bool isDurationRequired) {
    Contents contents{.url = url, .contexts = std::move(contexts)};
    requireSameContainer(*contents.contexts.visual, *contents.contexts.audio);
    contents.startTime = startTimeOf(*contents.contexts.visual);
    contents.duration = durationOf(*contents.contexts.visual, fallbackDuration, isDurationRequired);
    appendTracks(contents);
    moveBothToStart(contents);
    const AVFormatContext& visual = *contents.contexts.visual;
    contents.optionalMetadata =
        OptionalMetadata(mediaTypeOf(contents.videoTracks, contents.audioTracks),
                         metadataOf(visual), findArtwork(visual));
    contents.chapters = chaptersOf(visual, contents.startTime, contents.duration);
    return std::make_shared<MediaSource>(std::move(contents));
}

void MediaSource::load(const URL& url, SuccessHandler successHandler, FailureHandler failureHandler,
                       const LoadInterruption& interruption) {
    const auto queue = dispatch::globalQueue(dispatch::QualityOfService::userInitiated);
    const auto source = std::make_shared<std::shared_ptr<MediaSource>>();
    const dispatch::Group group;
    group.enter();
    queue->async([=, failureHandler = std::move(failureHandler)] {
        try {
            *source = open(url, std::nullopt, true, interruption);
        } catch (const LoadError& error) {
            failureHandler(error);
        } catch (const std::exception& error) {
            logMessage("Caught error that is not of type `MediaSource.LoadError`: {}.",
                       errorDescriptionText(error));
            failureHandler(LoadError::failedToOpenURL(url, std::current_exception()));
        }
        group.leave();
    });
    group.notify(queue, [source, successHandler = std::move(successHandler)] {
        if (*source) {
            successHandler(*source);
        }
    });
}

} // namespace zelvane
