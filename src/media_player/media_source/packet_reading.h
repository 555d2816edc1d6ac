// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <optional>
#include <vector>

#include "foundation/cm_time.h"
#include "media_player/media_source/packet_source.h"

namespace zelvane {

using MediaTracks = std::vector<std::shared_ptr<MediaTrack>>;
using StreamIndexes = std::vector<int>;

// All of these run on the queue that owns the context.

/// Lets the context demux these streams and no others.
void setEnabledStreams(const StreamIndexes& streamIndexes, AVFormatContext& context);

/// The next packet of any of these streams; null at the end of the file. Throws FFmpegError.
PacketRef readPacket(const StreamIndexes& streamIndexes, AVFormatContext& context);

/// Moves to the last place at or before `time` where its enabled streams can be read from, or to
/// the first one when all lie behind it. Throws FFmpegError, and leaves the context anywhere then.
void seek(AVFormatContext& context, const CMTime& time);

/// Moves to the start of the file, also in one too short to be sought by time. Throws FFmpegError.
void seekToStart(AVFormatContext& context);

/// Moves to the first byte of the file; false where the demuxer would lose its state, or where that
/// fails, and then the context stands anywhere.
bool seekToFirstByte(AVFormatContext& context);

/// Of the index entries of a stream, the last at or before `time`.
std::optional<CMTime> keyframeTime(const CMTime& time, const MediaTrack& track,
                                   AVFormatContext& context);

/// Whether the index of a stream knows both sides of `to`, and no key frame after `from` and up to
/// it.
bool isFreeOfKeyframes(const CMTime& from, const CMTime& to, const MediaTrack& track,
                       AVFormatContext& context);

/// Where a track would have to be read from to show a time.
struct TrackKeyframe {
    int streamIndex = 0;
    std::optional<CMTime> time;
};

/// The stream whose index should steer a seek to `target`: the one of the earliest time that is not
/// older than 10 s before it, so that subtitles that began shortly before are read again but a far
/// older one doesn't drag the seek back. None when no stream has such a time; the first one of a
/// tie.
std::optional<int> steeringStream(const std::vector<TrackKeyframe>& keyframes,
                                  const CMTime& target);

/// The one of the tracks that a packet of their container belongs to; null when there is none.
std::shared_ptr<MediaTrack> trackOf(const Packet& packet, const MediaTracks& tracks);

using PacketReader = std::function<PacketRef()>;

/// Reads until the first packet of `anchor` at or past `target`, or one without a time, or the end.
/// The anchor's list starts with its last key packet at least `preroll` before the target; packets
/// of `others` that came on the way are handed over by track. A list that grows too large for the
/// memory ends early: reading goes on behind it. What `read` throws ends the collection.
PacketSource::CollectedPackets collectPackets(const std::shared_ptr<MediaTrack>& anchor,
                                              const MediaTracks& others, const CMTime& target,
                                              const PacketReader& read,
                                              const CMTime& preroll = kCMTimeZero);

/// Whether the anchor's first collected packet is a key packet.
bool beginsWithKeyframe(const PacketSource::CollectedPackets& collected,
                        const std::shared_ptr<MediaTrack>& anchor);

/// Whether a decoder that starts with the anchor's first collected packet gives the frame of
/// `target`, or one before it: whether that is a key packet shown no later.
bool beginsInTime(const PacketSource::CollectedPackets& collected,
                  const std::shared_ptr<MediaTrack>& anchor, const CMTime& target);

} // namespace zelvane
