// SPDX-License-Identifier: GPL-3.0-or-later
#include "media_player/media_source/media_source.h"

#include <cassert>
#include <utility>

#include "core_media/ffmpeg_time.h"
#include "media_player/media_source/media_source_contents.h"
#include "media_player/media_source/sound_seeking.h"
#include "media_player/media_source/stepping_back.h"

namespace zelvane {
namespace {

/// Demuxers seek by decoding time, and the first picture may be decoded this long before the media
/// begins.
constexpr CMTime kLongestDecodingDelay(10, 1);

/// A picture of Blu-ray's subtitles (PGS) depends on others of its epoch, which lasts as long as a
/// few lines of dialogue.
constexpr CMTime kLongestEpoch(10, 1);

/// Whether one subtitle takes several packets in containers that do not combine them: palette,
/// objects and composition. A seek finds the last of them.
bool spansSeveralPackets(const AVStream& stream) {
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

SubtitlesTracks MediaSource::subtitlesTracks() const {
    SubtitlesTracks tracks = embeddedSubtitlesTracks_;
    const auto external = externalSubtitlesTracks();
    tracks.insert(tracks.end(), external.begin(), external.end());
    return tracks;
}

MediaSource::MediaSource(Contents contents)
    : id_(std::move(contents.id)), url_(std::move(contents.url)),
      fileBookmark_(FileBookmark::of(url_)), startTime_(contents.startTime),
      duration_(contents.duration), videoTracks_(std::move(contents.videoTracks)),
      audioTracks_(std::move(contents.audioTracks)),
      embeddedSubtitlesTracks_(std::move(contents.subtitlesTracks)),
      optionalMetadata_(std::move(contents.optionalMetadata)),
      chapters_(std::move(contents.chapters)), textEncoding_(std::move(contents.textEncoding)),
      visualTracksQueue_(dispatch::makeSerialQueue("Media Source Queue (Visual Tracks)")),
      audioTracksQueue_(dispatch::makeSerialQueue("Media Source Queue (Audio Tracks)")),
      textPackets_(std::move(contents.textPackets)), isSeekable_(contents.isSeekable),
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
    if (!isSeekable_) {
        auto fromStart =
            collectFromStart(formatContextForAudioTracks_, track, {}, time, kSoundPreroll);
        return fromStart.empty() ? std::vector<PacketRef>() : std::move(fromStart.front().second);
    }
    return seekSound(*formatContextForAudioTracks_, track, startTime_, time);
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
    if (!isSeekable_) {
        return collectFromStart(formatContextForVisualTracks_, videoTrack, subtitlesTracks, time);
    }
    const StreamIndexes indexes = streamIndexes(tracks);
    CollectedPackets collected;
    stepBackUntil(time, startTime_, [&](const CMTime& from) {
        setEnabledStreams(steeringStreams(tracks, from), context);
        seek(context, seekTargetOf(from));
        collected = collectPackets(videoTrack, {subtitlesTracks.begin(), subtitlesTracks.end()},
                                   time, [&] { return readPacket(indexes, context); });
        return beginsInTime(collected, videoTrack, time);
    });
    return collected;
}

std::optional<PacketSource::CollectedPackets>
MediaSource::continueReadingTo(const std::shared_ptr<VideoTrack>& videoTrack,
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

PacketSource::CollectedPackets MediaSource::collectFromStart(
    InputFormatContext& context, const std::shared_ptr<MediaTrack>& anchor,
    const SubtitlesTracks& subtitlesTracks, const CMTime& time, const CMTime& preroll) {
    context = makeInputFormatContext(url_);
    const MediaTracks others(subtitlesTracks.begin(), subtitlesTracks.end());
    StreamIndexes indexes = streamIndexes(others);
    indexes.push_back(static_cast<int>(anchor->streamIndex()));
    return collectPackets(
        anchor, others, time, [&] { return readPacket(indexes, *context); }, preroll);
}

void MediaSource::seekSubtitlesAlone(const MediaTracks& tracks, const CMTime& time) {
    AVFormatContext& context = *formatContextForVisualTracks_;
    setEnabledStreams(steeringStreams(tracks, time), context);
    seek(context, seekTargetOf(time));
    for (const auto& track : tracks) {
        if (!spansSeveralPackets(*context.streams[track->streamIndex()])) {
            continue;
        }
        // The index covers this time only after the first seek.
        const CMTime epoch = keyframeTimeBefore(time, *track).value_or(time) - kLongestEpoch;
        // The library's own index has only the last packet of each time. When the epoch starts
        // before the first entry, the first subtitle starts with the file.
        const bool isBeforeTheIndex = !keyframeTimeBefore(epoch, *track);
        if (!isBeforeTheIndex || !seekToFirstByte(context)) {
            seek(context, seekTargetOf(epoch));
        }
    }
}

CMTime MediaSource::seekTargetOf(const CMTime& time) const {
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
