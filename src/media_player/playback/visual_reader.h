// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <functional>
#include <memory>
#include <optional>
#include <string_view>

#include "media_player/media_source/packet_source.h"
#include "media_player/playback/decode_feed.h"
#include "media_player/playback/seek_relevance.h"
#include "media_player/playback/subtitles_position.h"

namespace zelvane {

/// Reads the packets of the selected video track and of the selected subtitles tracks of the same
/// file, which share one read position, and sends each one to its decoder. Errors are logged. Used
/// on its provider's queue.
class VisualReader {
  public:
    /// Takes the frames that a subtitles decoder gave.
    using FramesReceiver =
        std::function<void(SubtitlesPosition position, const SubtitlesFrames& frames)>;
    enum class Reading { continues, ended, failed };

    explicit VisualReader(std::shared_ptr<PacketSource> mediaSource)
        : mediaSource_(std::move(mediaSource)) {}

    void setVideoTrack(std::shared_ptr<VideoTrack> track) { videoTrack_ = std::move(track); }
    const std::shared_ptr<VideoTrack>& videoTrack() const { return videoTrack_; }
    /// A track of a side file stops the process: it has no packets among those of the video.
    void setSubtitlesTrack(SubtitlesPosition position, std::shared_ptr<SubtitlesTrack> track);
    bool hasSubtitlesTrack(SubtitlesPosition position) const;
    CMTime startTime() const { return mediaSource_->startTime(); }

    /// Reads one packet and decodes it, or finishes all decoders at the end of the file.
    Reading decodeNext(DecodeFeed& feed, const FramesReceiver& receiver);
    void decode(const PacketSource::TrackPacket& packet, DecodeFeed& feed,
                const FramesReceiver& receiver);
    void flushSubtitlesDecoders();

    /// Moves to `time` and returns the packets from the key frame before it; none after an error.
    std::optional<PacketSource::CollectedPackets> collectPackets(const CMTime& time) const;
    /// The packets between two times; none if a key frame is between them, or after an error.
    std::optional<PacketSource::CollectedPackets> continueReading(const CMTime& from,
                                                                  const CMTime& time) const;

  private:
    struct Position {
        SubtitlesPosition position;
        std::string_view decodeFailure;
        std::shared_ptr<SubtitlesTrack> track = nullptr;
    };

    Position& at(SubtitlesPosition position);
    SubtitlesTracks subtitlesTracks() const;
    void finish(DecodeFeed& feed, const FramesReceiver& receiver);

    std::shared_ptr<PacketSource> mediaSource_;
    std::shared_ptr<VideoTrack> videoTrack_;
    std::array<Position, 2> subtitles_{
        {{SubtitlesPosition::primary, "Failed to decode packet from primary subtitles track"},
         {SubtitlesPosition::secondary, "Failed to decode packet from secondary subtitles track"}}};
};

} // namespace zelvane
