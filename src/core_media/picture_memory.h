// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>

#include "core_media/ffmpeg.h"

namespace zelvane {

/// From this size on a block can hold a huge page: of x86-64, and of ARM with pages of 4 KiB. Where
/// they are larger none is found, and nothing lost.
constexpr std::size_t kHugePage = std::size_t{2} << 20;

/// A zeroed block for pictures, aligned as av_malloc() aligns at least, for av_buffer_pool_init().
/// From kHugePage on it asks the system for huge pages: in small ones a picture of 2160p costs six
/// thousand faults before it is first filled. The caller owns the reference. Null where there is no
/// memory, or more is asked for than limitFFmpegAllocations() allows a block. Any thread.
AVBufferRef* allocatePictureMemory(std::size_t size);

} // namespace zelvane
