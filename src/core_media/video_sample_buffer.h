// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>

#include "core_media/cm_sample_buffer.h"
#include "core_media/ffmpeg.h"

namespace zelvane {

/// A sample buffer of one picture with the times of its frame. `streamTimeBase` is the unit of the
/// frame's stamps. A frame without a usable stamp takes `presentationTimestampIfMissing`; with
/// neither, throws FFmpegError noPresentationTimestamp. An unknown duration becomes an invalid
/// time.
CMSampleBufferRef makeSampleBuffer(CVPixelBufferRef pixelBuffer, const AVFrame& ffmpegFrame,
                                   AVRational ffmpegStreamTimeBase,
                                   std::optional<CMTime> presentationTimestampIfMissing);

} // namespace zelvane
