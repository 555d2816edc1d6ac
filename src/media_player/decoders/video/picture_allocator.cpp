// SPDX-License-Identifier: GPL-3.0-or-later
#include "media_player/decoders/video/picture_allocator.h"

#include <algorithm>

#include "core_media/picture_memory.h"

namespace zelvane {
namespace {

/// The widest vectors of x86-64, and a cache line.
constexpr int kRowAlignment = 64;
/// Vector instructions read and write a little past the end of a plane.
constexpr std::size_t kPlanePadding = 128;
/// Smaller pictures take little memory.
constexpr std::size_t kSmallestServed = std::size_t{256} << 10;
std::size_t aligned(std::size_t size) {
    return (size + kRowAlignment - 1) / kRowAlignment * kRowAlignment;
}

bool areRowsAligned(const std::array<int, 4>& rowBytes) {
    return std::all_of(rowBytes.begin(), rowBytes.end(),
                       [](int bytes) { return bytes % kRowAlignment == 0; });
}

/// Row lengths for the smallest width, at least `width`, with which all rows are aligned.
int alignRows(std::array<int, 4>& rowBytes, AVPixelFormat format, int width) {
    constexpr int kStep = 16;
    constexpr int kSteps = 64;
    for (int step = 0; step < kSteps; ++step) {
        const int status = av_image_fill_linesizes(rowBytes.data(), format, width + step * kStep);
        if (status < 0 || areRowsAligned(rowBytes)) {
            return status;
        }
    }
    return AVERROR(EINVAL);
}

} // namespace

void PictureAllocator::serve(AVCodecContext& context) {
    context.opaque = this;
    context.get_buffer2 = getBuffer;
#if LIBAVCODEC_VERSION_INT < AV_VERSION_INT(60, 0, 100)
    // Before that version the flag permits calls from the decoder's own threads.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"
    context.thread_safe_callbacks = 1;
#pragma GCC diagnostic pop
#endif
}

int PictureAllocator::getBuffer(AVCodecContext* context, AVFrame* frame, int flags) {
    if (isServed(*context, *frame)) {
        auto& self = *static_cast<PictureAllocator*>(context->opaque);
        if (self.place(*context, *frame) >= 0) {
            return 0;
        }
    }
    // This also refuses pictures that are too large, with the status that the decoder expects.
    return avcodec_default_get_buffer2(context, frame, flags);
}

bool PictureAllocator::isServed(const AVCodecContext& context, const AVFrame& frame) {
    constexpr unsigned kUnusual =
        AV_PIX_FMT_FLAG_HWACCEL | AV_PIX_FMT_FLAG_PAL | AV_PIX_FMT_FLAG_BITSTREAM;
    const auto* const format = av_pix_fmt_desc_get(static_cast<AVPixelFormat>(frame.format));
    return (static_cast<unsigned>(context.codec->capabilities) & AV_CODEC_CAP_DR1) != 0 &&
           format != nullptr && (format->flags & kUnusual) == 0 && frame.width > 0 &&
           frame.height > 0;
}

int PictureAllocator::layOut(AVCodecContext& context, const AVFrame& frame, Layout& layout) {
    const auto format = static_cast<AVPixelFormat>(frame.format);
    int width = frame.width;
    int height = frame.height;
    std::array<int, AV_NUM_DATA_POINTERS> rowAlignments{};
    avcodec_align_dimensions2(&context, &width, &height, rowAlignments.data());
    if (std::any_of(rowAlignments.begin(), rowAlignments.end(),
                    [](int bytes) { return bytes > kRowAlignment; })) {
        return AVERROR(EINVAL);
    }
    int status = alignRows(layout.rowBytes, format, width);
    if (status < 0) {
        return status;
    }
    std::array<std::ptrdiff_t, 4> rows{};
    std::copy(layout.rowBytes.begin(), layout.rowBytes.end(), rows.begin());
    std::array<std::size_t, 4> sizes{};
    status = av_image_fill_plane_sizes(sizes.data(), format, height, rows.data());
    for (std::size_t plane = 0; status >= 0 && plane < sizes.size() && sizes[plane] > 0; ++plane) {
        layout.offsets[plane] = layout.size;
        layout.size += aligned(sizes[plane] + kPlanePadding);
    }
    return status;
}

int PictureAllocator::place(AVCodecContext& context, AVFrame& frame) {
    Layout layout;
    const int status = layOut(context, frame, layout);
    if (status < 0 || layout.size < kSmallestServed) {
        return AVERROR(EINVAL);
    }
    auto block = takeBlock(layout);
    if (block == nullptr) {
        return AVERROR(ENOMEM);
    }
    for (std::size_t plane = 0; plane < layout.rowBytes.size(); ++plane) {
        frame.linesize[plane] = layout.rowBytes[plane];
        frame.data[plane] =
            layout.rowBytes[plane] == 0 ? nullptr : block->data + layout.offsets[plane];
    }
    frame.extended_data = frame.data;
    frame.buf[0] = block.release();
    return 0;
}

/// Pictures in use keep the pool that they are from.
ffmpeg::BufferRef PictureAllocator::takeBlock(const Layout& layout) {
    const std::lock_guard lock(mutex_);
    if (pool_ == nullptr || blockSize_ != layout.size) {
        pool_.reset(av_buffer_pool_init(layout.size, allocatePictureMemory));
        blockSize_ = layout.size;
    }
    return ffmpeg::BufferRef(pool_ == nullptr ? nullptr : av_buffer_pool_get(pool_.get()));
}

} // namespace zelvane
