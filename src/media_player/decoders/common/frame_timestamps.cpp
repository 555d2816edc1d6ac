// SPDX-License-Identifier: GPL-3.0-or-later
#include "media_player/decoders/common/frame_timestamps.h"

#include <algorithm>

#include "core_media/ffmpeg_time.h"

namespace zelvane {

void FrameTimestamps::didSend(const AVPacket& packet) {
    if (const auto time = timeFromStamp(packet.pts, timeBase_)) {
        earliestPacketTime_ = std::min(earliestPacketTime_.value_or(*time), *time);
    }
}

void FrameTimestamps::setEnd(const CMTime& end) {
    expectedTime_ = end.isValid() ? std::optional(end) : std::nullopt;
}

void FrameTimestamps::reset() {
    expectedTime_.reset();
    earliestPacketTime_.reset();
}

std::optional<CMTime> FrameTimestamps::statedTime(const AVFrame& frame) const {
    return timeFromStamp(frame.best_effort_timestamp, timeBase_);
}

std::optional<CMTime> FrameTimestamps::timeOf(const AVFrame& frame) const {
    const auto stated = statedTime(frame);
    return stated ? stated : expectedTime_;
}

} // namespace zelvane
