// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <cstddef>
#include <mutex>

#include "core_media/ffmpeg_handles.h"

namespace zelvane {

/// Allocates the pictures of software decoders: one block of allocatePictureMemory() each, reused
/// after the picture is released, by all contexts that this serves. libavcodec allocates small
/// pictures and those of an unusual kind.
class PictureAllocator {
  public:
    /// Call it before the context is opened. This must outlive the context, whose opaque pointer it
    /// uses.
    void serve(AVCodecContext& context);

  private:
    /// The layout of a picture in its block.
    struct Layout {
        std::array<int, 4> rowBytes{};
        std::array<std::size_t, 4> offsets{};
        std::size_t size = 0;
    };

    /// Any of the decoder's threads.
    static int getBuffer(AVCodecContext* context, AVFrame* frame, int flags);
    static bool isServed(const AVCodecContext& context, const AVFrame& frame);
    static int layOut(AVCodecContext& context, const AVFrame& frame, Layout& layout);
    int place(AVCodecContext& context, AVFrame& frame);
    ffmpeg::BufferRef takeBlock(const Layout& layout);

    std::mutex mutex_;
    std::size_t blockSize_ = 0;
    ffmpeg::BufferPool pool_;
};

} // namespace zelvane
