// SPDX-License-Identifier: GPL-3.0-or-later
#include "media_player/media_source/memory_input.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <utility>

#include "core_media/ffmpeg_error.h"

namespace zelvane {

void MemoryInput::Free::operator()(AVIOContext* context) const {
    // The library may have replaced the buffer that it was given.
    av_freep(&context->buffer);
    avio_context_free(&context);
}

MemoryInput::MemoryInput(std::string bytes) : bytes_(std::move(bytes)) {
    constexpr int kBufferSize = 32 * 1024;
    auto* const buffer =
        static_cast<unsigned char*>(checkedFFmpegAllocation(av_malloc(kBufferSize)));
    context_.reset(avio_alloc_context(buffer, kBufferSize, 0, this, read, nullptr, seek));
    if (context_ == nullptr) {
        av_free(buffer);
        checkedFFmpegAllocation(context_.get());
    }
}

int MemoryInput::read(void* self, std::uint8_t* buffer, int size) {
    auto& input = *static_cast<MemoryInput*>(self);
    const std::size_t left = input.bytes_.size() - std::min(input.position_, input.bytes_.size());
    const std::size_t count = std::min(left, static_cast<std::size_t>(std::max(size, 0)));
    if (count == 0) {
        return AVERROR_EOF;
    }
    std::memcpy(buffer, input.bytes_.data() + input.position_, count);
    input.position_ += count;
    return static_cast<int>(count);
}

std::int64_t MemoryInput::seek(void* self, std::int64_t offset, int whence) {
    auto& input = *static_cast<MemoryInput*>(self);
    const auto size = static_cast<std::int64_t>(input.bytes_.size());
    switch (whence & ~AVSEEK_FORCE) {
    case AVSEEK_SIZE:
        return size;
    case SEEK_SET:
        break;
    case SEEK_CUR:
        offset += static_cast<std::int64_t>(input.position_);
        break;
    case SEEK_END:
        offset += size;
        break;
    default:
        return AVERROR(EINVAL);
    }
    if (offset < 0) {
        return AVERROR(EINVAL);
    }
    input.position_ = static_cast<std::size_t>(offset);
    return offset;
}

} // namespace zelvane
