// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>

#include "core_media/ffmpeg.h"

namespace zelvane {

/// The size of a huge page on x86-64, and on ARM with pages of 4 KiB. Where huge pages are larger,
/// none is used.
constexpr std::size_t kHugePage = std::size_t{2} << 20;

/// A zeroed block for pictures, aligned as av_malloc() aligns at least, for av_buffer_pool_init().
/// From kHugePage on it requests huge pages: with small ones a picture of 2160p costs six thousand
/// page faults before it is first filled. The caller owns the reference. Null without memory, or
/// above the limit of limitFFmpegAllocations(). Any thread.
AVBufferRef* allocatePictureMemory(std::size_t size);

} // namespace zelvane
