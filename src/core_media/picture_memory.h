// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>

#include "core_media/ffmpeg.h"

namespace zelvane {

/// A zeroed block for pictures, aligned to a cache line at least, as av_buffer_pool_init() asks for
/// one. Large blocks ask the system for huge pages: in small ones a picture of 2160p costs six
/// thousand faults before it is first filled, and a decoder that follows motion through several of
/// them waits for the translation of addresses. Null where there is no memory, or more is asked for
/// than limitFFmpegAllocations() allows a block. Any thread.
AVBufferRef* allocatePictureMemory(std::size_t size);

} // namespace zelvane
