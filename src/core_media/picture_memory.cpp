// SPDX-License-Identifier: GPL-3.0-or-later
#include "core_media/picture_memory.h"

#include <sys/mman.h>
#include <unistd.h>

#include "core_media/ffmpeg_memory.h"

namespace zelvane {
namespace {

std::size_t roundedUp(std::size_t value, std::size_t unit) {
    return (value + unit - 1) / unit * unit;
}

void unmap(void* length, std::uint8_t* block) {
    munmap(block, reinterpret_cast<std::size_t>(length));
}

/// Aligned to a huge page, so that the block holds as many as possible. The rest at its end uses
/// small pages.
std::uint8_t* mapAligned(std::size_t length) {
    void* const room = mmap(nullptr, length + kHugePage, PROT_READ | PROT_WRITE,
                            MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (room == MAP_FAILED) {
        return nullptr;
    }
    auto* const start = static_cast<std::uint8_t*>(room);
    const auto address = reinterpret_cast<std::uintptr_t>(room);
    const std::size_t before = roundedUp(address, kHugePage) - address;
    if (before > 0) {
        munmap(start, before);
    }
    munmap(start + before + length, kHugePage - before);
    return start + before;
}

} // namespace

AVBufferRef* allocatePictureMemory(std::size_t size) {
    if (size < kHugePage) {
        return av_buffer_allocz(size);
    }
    if (size > kLargestFFmpegAllocation) {
        return nullptr;
    }
    const std::size_t length = roundedUp(size, static_cast<std::size_t>(sysconf(_SC_PAGESIZE)));
    std::uint8_t* const block = mapAligned(length);
    if (block == nullptr) {
        return nullptr;
    }
    // Without huge pages the call fails, and the block is still usable.
    madvise(block, length, MADV_HUGEPAGE);
    void* const owner = reinterpret_cast<void*>(length); // NOLINT(performance-no-int-to-ptr)
    AVBufferRef* const buffer = av_buffer_create(block, size, unmap, owner, 0);
    if (buffer == nullptr) {
        munmap(block, length);
    }
    return buffer;
}

} // namespace zelvane
