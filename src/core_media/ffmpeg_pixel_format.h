// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>
#include <span>

#include "core_media/ffmpeg.h"
#include "core_media/pixel_format.h"

namespace zelvane {

/// FFmpeg's name for the memory layout of a pixel format of any range; AV_PIX_FMT_NONE when it has
/// none.
AVPixelFormat ffmpegPixelFormat(OSType pixelFormat);

/// A memory layout and the range of its values, as FFmpeg states them.
struct FFmpegPixelLayout {
    AVPixelFormat format = AV_PIX_FMT_NONE;
    AVColorRange range = AVCOL_RANGE_UNSPECIFIED;
    friend bool operator==(const FFmpegPixelLayout&, const FFmpegPixelLayout&) = default;
};

/// The layout with FFmpeg's old full-range formats ("yuvj420p") replaced by their plain
/// equivalents, and an unstated range by its meaning: full for grey, as in still images, and video
/// range for all other formats.
FFmpegPixelLayout canonicalLayout(AVPixelFormat format, AVColorRange range);

/// The pixel format of this memory layout, supported or not; none where there is none.
std::optional<OSType> correspondingPixelFormat(const FFmpegPixelLayout& layout);

/// The formats that the display path takes.
std::span<const OSType> supportedPixelFormats();
bool isSupportedPixelFormat(OSType pixelFormat);

/// The format to which a layout without a supported pixel format is converted. Luma of more than 8
/// bits keeps 10; all subsampling of such pictures becomes 4:2:0.
OSType conversionTarget(const FFmpegPixelLayout& layout);

} // namespace zelvane
