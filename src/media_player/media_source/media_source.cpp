// SPDX-License-Identifier: GPL-3.0-or-later
#include "media_player/media_source/media_source.h"

#include <cassert>
#include <utility>

#include <fmt/format.h>

#include "core_media/ffmpeg_time.h"
#include "foundation/log.h"
#include "foundation/uuid.h"
#include "media_player/decoders/audio/ffmpeg_audio_decoder.h"
#include "media_player/media_source/stepping_back.h"

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
};

namespace {

using LoadError = MediaSource::LoadError;

/// Packets are found by when they are decoded, and the first picture may be decoded this long
/// before the media begins.
constexpr CMTime kLongestDecodingDelay(10, 1);

/// What decoders of overlapping, predicted or pooled bits (MDCT, SBR, MP3's reservoir, Opus) take
/// to give the samples of a straight decode. Decoding it costs less than a millisecond.
constexpr CMTime kAudioPreroll(1, 2);

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
    if (!url.isFileURL()) {
        throw LoadError::unsupportedURLScheme(url.scheme());
    }
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

MediaSource::MediaSource(Contents contents)
    : id_(std::move(contents.id)), url_(std::move(contents.url)), startTime_(contents.startTime),
      duration_(contents.duration), videoTracks_(std::move(contents.videoTracks)),
      audioTracks_(std::move(contents.audioTracks)),
      embeddedSubtitlesTracks_(std::move(contents.subtitlesTracks)),
      optionalMetadata_(std::move(contents.optionalMetadata)),
      visualTracksQueue_(dispatch::makeSerialQueue("Media Source Queue (Visual Tracks)")),
      audioTracksQueue_(dispatch::makeSerialQueue("Media Source Queue (Audio Tracks)")),
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
    PacketRef packet = readPacket(streamIndexes(tracks), *formatContextForVisualTracks_);
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
    AVFormatContext& context = *formatContextForVisualTracks_;
    const MediaTracks tracks = visualTracks(videoTrack, subtitlesTracks);
    const StreamIndexes indexes = streamIndexes(tracks);
    CollectedPackets collected;
    stepBackUntil(time, startTime_, [&](const CMTime& from) {
        setEnabledStreams(steeringStreams(tracks, from), context);
        seek(context, placeOf(from));
        if (!videoTrack) {
            return true;
        }
        collected = collectPackets(videoTrack, {subtitlesTracks.begin(), subtitlesTracks.end()},
                                   time, [&] { return readPacket(indexes, context); });
        return beginsInTime(collected, videoTrack, time);
    });
    return collected;
}

CMTime MediaSource::placeOf(const CMTime& time) const {
    return time <= startTime_ ? startTime_ - kLongestDecodingDelay : time;
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
    return keyframeTime(time, track, *formatContextForVisualTracks_);
}

} // namespace zelvane
