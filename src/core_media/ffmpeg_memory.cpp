// SPDX-License-Identifier: GPL-3.0-or-later
#include "core_media/ffmpeg_memory.h"

#include <cstddef>

extern "C" {
#include <libavutil/mem.h>
}

namespace zelvane {

void limitFFmpegAllocations() {
    // A plane of 16384 x 8192 at 16 bits, or the index of sixty hours of sound.
    constexpr std::size_t kLargest = std::size_t{256} << 20;
    av_max_alloc(kLargest);
}

} // namespace zelvane
