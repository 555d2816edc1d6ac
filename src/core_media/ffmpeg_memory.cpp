// SPDX-License-Identifier: GPL-3.0-or-later
#include "core_media/ffmpeg_memory.h"

#include "core_media/ffmpeg.h"

namespace zelvane {

void limitFFmpegAllocations() {
    av_max_alloc(kLargestFFmpegAllocation);
}

} // namespace zelvane
