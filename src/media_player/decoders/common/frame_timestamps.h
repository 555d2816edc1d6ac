// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>

#include "core_media/ffmpeg.h"
#include "foundation/cm_time.h"

namespace zelvane {

/// Determines the times of the frames that one decoder gives. Many frames have no stamp: a decoder
/// that makes several frames of one packet stamps only the first of them, and one that makes no
/// frame of a packet loses its stamp. Such a frame begins where the frame before it ends. Used by
/// one thread at a time.
class FrameTimestamps {
  public:
    /// `timeBase` is the unit of the stream's stamps.
    explicit FrameTimestamps(AVRational timeBase) : timeBase_(timeBase) {}

    /// Records that the decoder takes `packet`.
    void didSend(const AVPacket& packet);
    /// Records that the latest frame ends at `end`; an invalid time means that this is not known.
    void setEnd(const CMTime& end);
    /// Forgets all frames and packets. To be called when the decoder is flushed or has failed.
    void reset();

    /// What the frame itself states: its presentation stamp, or the decoding stamp where
    /// presentation stamps are missing or not in order (libavcodec's best effort).
    std::optional<CMTime> statedTime(const AVFrame& frame) const;
    /// Where the frame before ended; none when it is not known.
    const std::optional<CMTime>& expectedTime() const { return expectedTime_; }
    /// The stated time, else the expected one, else none.
    std::optional<CMTime> timeOf(const AVFrame& frame) const;
    /// The earliest presentation stamp among the packets since the reset: the best that is known of
    /// frames that have neither a stated nor an expected time.
    const std::optional<CMTime>& earliestPacketTime() const { return earliestPacketTime_; }

  private:
    AVRational timeBase_;
    std::optional<CMTime> expectedTime_;
    std::optional<CMTime> earliestPacketTime_;
};

} // namespace zelvane
