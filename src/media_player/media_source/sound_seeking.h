// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>
#include <vector>

#include "media_player/media_source/packet_reading.h"

namespace zelvane {

/// How much sound before a seek's target is decoded. Packets overlap, predict or share bits (MDCT,
/// SBR, MP3's reservoir, Opus), so a decoder gives the samples of a straight decode only after some
/// packets. Decoding this much takes less than a millisecond.
inline constexpr CMTime kSoundPreroll(1, 2);

/// Moves the context of the sound to `time` and returns the packets that a decoder of `track` needs
/// there: from kSoundPreroll before `time` through the first one at or past it. `start` is the
/// start time of the media. Reads little more than the part of the file between `time` and the next
/// sound, however large that is. Runs on the queue that owns the context. Throws FFmpegError.
std::vector<PacketRef> seekSound(AVFormatContext& context, const std::shared_ptr<AudioTrack>& track,
                                 const CMTime& start, const CMTime& time);

} // namespace zelvane
