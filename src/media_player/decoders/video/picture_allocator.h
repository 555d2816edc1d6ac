// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <cstddef>
#include <mutex>

#include "core_media/ffmpeg_handles.h"

namespace zelvane {

/// Gives software decoders the memory for their pictures: one block each, of
/// allocatePictureMemory(), which is used again once nobody holds the picture. What is too small
/// for a huge page, or of an unusual kind, libavcodec lays out.
class PictureAllocator {
  public:
    /// From before the context is opened; must outlive it. Takes its opaque pointer.
    void serve(AVCodecContext& context);

  private:
    /// How a picture lies in its block.
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
