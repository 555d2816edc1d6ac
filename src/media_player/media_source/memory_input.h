// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

#include "core_media/ffmpeg.h"

namespace zelvane {

/// Bytes in memory as the input of a demuxer. It must outlive the demuxer. Used by one thread at a
/// time.
class MemoryInput {
  public:
    /// Throws FFmpegError when memory is short.
    explicit MemoryInput(std::string bytes);
    MemoryInput(const MemoryInput&) = delete;
    MemoryInput& operator=(const MemoryInput&) = delete;

    AVIOContext* context() const { return context_.get(); }

  private:
    static int read(void* self, std::uint8_t* buffer, int size);
    static std::int64_t seek(void* self, std::int64_t offset, int whence);

    struct Free {
        void operator()(AVIOContext* context) const;
    };

    std::string bytes_;
    std::size_t position_ = 0;
    std::unique_ptr<AVIOContext, Free> context_;
};

} // namespace zelvane
