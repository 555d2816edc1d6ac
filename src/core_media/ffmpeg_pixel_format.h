// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "core_media/ffmpeg.h"
#include "core_media/pixel_format.h"

namespace zelvane {

/// FFmpeg's name for the memory layout of a pixel format, whatever its range; AV_PIX_FMT_NONE when
/// it has none.
AVPixelFormat ffmpegPixelFormat(OSType pixelFormat);

} // namespace zelvane
