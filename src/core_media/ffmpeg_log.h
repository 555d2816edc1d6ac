// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

namespace zelvane {

/// Keeps FFmpeg's own messages off standard error: the checked calls say what failed and where.
/// ZELVANE_FFMPEG_LOG in the environment lets them through. For programs, at their start.
void quietFFmpegLog();

} // namespace zelvane
