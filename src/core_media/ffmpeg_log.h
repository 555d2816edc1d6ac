// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

namespace zelvane {

/// Silences FFmpeg's own messages on standard error: the checked calls log what failed and where.
/// With ZELVANE_FFMPEG_LOG in the environment it does nothing. Programs call it at their start.
void quietFFmpegLog();

} // namespace zelvane
