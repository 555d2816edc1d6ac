// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>
#include <optional>
#include <span>
#include <utility>
#include <vector>

#include "foundation/cm_time.h"
#include "foundation/dispatch.h"
#include "media_player/decoders/common/packet.h"
#include "media_player/media_source/media_track.h"

namespace zelvane {

using SubtitlesTracks = std::vector<std::shared_ptr<SubtitlesTrack>>;

/// Gives the providers of a player their packets. Audio and visual data have separate read
/// positions. Call each operation inside sync() on the queue of its kind. It throws FFmpegError.
class PacketSource {
  public:
    struct TrackPacket {
        PacketRef packet;
        std::shared_ptr<MediaTrack> track;
    };
    /// Packets by track, the tracks in the order in which their first packet came.
    using CollectedPackets =
        std::vector<std::pair<std::shared_ptr<MediaTrack>, std::vector<PacketRef>>>;

    virtual ~PacketSource() = default;

    virtual CMTime startTime() const = 0;
    virtual CMTime duration() const = 0;
    virtual const std::shared_ptr<dispatch::Queue>& visualTracksQueue() const = 0;
    virtual const std::shared_ptr<dispatch::Queue>& audioTracksQueue() const = 0;

    /// The track's next packet; null at the end.
    virtual PacketRef readAudioPacket(const std::shared_ptr<AudioTrack>& track) = 0;
    /// The next packet of any of the tracks; none at the end, or without a track.
    virtual std::optional<TrackPacket>
    readVisualPacket(const std::shared_ptr<VideoTrack>& videoTrack,
                     const SubtitlesTracks& subtitlesTracks) = 0;
    /// Moves to `time`, on the file's time line, and returns the packets from the last key frame
    /// before it through the first packet at or past it.
    virtual std::vector<PacketRef> seekAudio(const std::shared_ptr<AudioTrack>& track,
                                             const CMTime& time) = 0;
    /// The same for video, with the subtitle packets in between. Empty without a video track.
    virtual CollectedPackets seekVisual(const std::shared_ptr<VideoTrack>& videoTrack,
                                        const SubtitlesTracks& subtitlesTracks,
                                        const CMTime& time) = 0;
    /// Continues reading to `time`. Returns the packets that a decoder needs which has all earlier
    /// packets and gave `from` as its newest picture. None where this is not known to be shorter
    /// than a seek; the read position may have changed.
    virtual std::optional<CollectedPackets>
    continueReadingTo(const std::shared_ptr<VideoTrack>& /*videoTrack*/,
                      const SubtitlesTracks& /*subtitlesTracks*/, const CMTime& /*from*/,
                      const CMTime& /*time*/) {
        return std::nullopt;
    }
};

} // namespace zelvane
