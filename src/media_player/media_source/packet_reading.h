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

/// Makes the context demux only these streams.
void setEnabledStreams(const StreamIndexes& streamIndexes, AVFormatContext& context);

/// The next packet of any of these streams; null at the end of the file. Throws FFmpegError.
PacketRef readPacket(const StreamIndexes& streamIndexes, AVFormatContext& context);

/// Names the stream that the library chooses: a video stream if there is one.
inline constexpr int kDefaultStream = -1;

/// Moves to the last place at or before `time` from which the stream can be read, or to the first
/// one if all are after it. Where that stream cannot be sought, the default stream is. Throws
/// FFmpegError; the read position is then unknown.
void seek(AVFormatContext& context, const CMTime& time, int streamIndex = kDefaultStream);

/// The first stream of a type whose packets the index knows, else kDefaultStream.
int indexedStream(AVMediaType mediaType, const AVFormatContext& context);

/// Moves to the start of a stream, also in a file too short to be sought by time. Throws
/// FFmpegError.
void seekToStart(AVFormatContext& context, int streamIndex = kDefaultStream);

/// Moves to the first byte of the file; false where the demuxer would lose its state, or where that
/// fails; the read position is then unknown.
bool seekToFirstByte(AVFormatContext& context);

/// Of the index entries of a stream, the last at or before `time`.
std::optional<CMTime> keyframeTime(const CMTime& time, const MediaTrack& track,
                                   AVFormatContext& context);

/// Whether the index of a stream has an entry after `time` and one at most `longestGap` before it.
bool isIndexed(const CMTime& time, const CMTime& longestGap, const MediaTrack& track,
               AVFormatContext& context);

/// Whether the index of a stream knows both sides of `to`, and no key frame after `from` and up to
/// it.
bool isFreeOfKeyframes(const CMTime& from, const CMTime& to, const MediaTrack& track,
                       AVFormatContext& context);

/// From where a track has to be read to show a time.
struct TrackKeyframe {
    int streamIndex = 0;
    std::optional<CMTime> time;
};

/// The stream by whose index to seek to `target`: the one with the earliest time that is at most 10
/// s before it, so that subtitles that began shortly before are read again, and much older ones do
/// not make the seek longer. None when no stream has such a time; the first one of a tie.
std::optional<int> steeringStream(const std::vector<TrackKeyframe>& keyframes,
                                  const CMTime& target);

/// The one of the tracks that a packet of their container belongs to; null when there is none.
std::shared_ptr<MediaTrack> trackOf(const Packet& packet, const MediaTracks& tracks);

using PacketReader = std::function<PacketRef()>;

/// Reads until the first packet of `anchor` at or past `target`, or one without a time, or the end.
/// The anchor's list starts with its last key packet at least `preroll` before the target; packets
/// of `others` in between are returned by track. A list that would need too much memory ends early;
/// reading continues after it. An exception of `read` ends the collection.
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
