// SPDX-License-Identifier: GPL-3.0-or-later
#include "core_media/cv_pixel_buffer.h"

#include <utility>

#include "core_media/ffmpeg_handles.h"
#include "core_media/ffmpeg_pixel_format.h"
#include "core_media/picture_memory.h"

namespace zelvane {
namespace {

int dividedRoundingUp(int value, int divisor) {
    return (value + divisor - 1) / divisor;
}

/// The planes of a picture of this format and size, without addresses.
void setPlaneSizes(CVPixelBuffer::Geometry& geometry, const PixelFormatDescriptor& descriptor) {
    geometry.planeCount = descriptor.planeCount;
    for (std::size_t i = 0; i < static_cast<std::size_t>(descriptor.planeCount); ++i) {
        geometry.planes[i].width =
            dividedRoundingUp(geometry.width, descriptor.planes[i].widthDivisor);
        geometry.planes[i].height =
            dividedRoundingUp(geometry.height, descriptor.planes[i].heightDivisor);
    }
}

void checkAttributes(const CVPixelBufferPoolAttributes& attributes) {
    const int alignment = attributes.bytesPerRowAlignment;
    if (alignment < 1 || (alignment & (alignment - 1)) != 0 || attributes.extendedPixelsRight < 0 ||
        attributes.extendedPixelsBottom < 0) {
        throwCoreVideoError(kCVReturnInvalidArgument);
    }
    constexpr int kMaxExtent = 1 << 16;
    if (attributes.width < 1 || attributes.height < 1 || attributes.width > kMaxExtent ||
        attributes.height > kMaxExtent || attributes.extendedPixelsRight > kMaxExtent ||
        attributes.extendedPixelsBottom > kMaxExtent) {
        throwCoreVideoError(kCVReturnInvalidSize);
    }
}

std::size_t roundedUp(std::size_t value, std::size_t powerOfTwo) {
    return (value + powerOfTwo - 1) & ~(powerOfTwo - 1);
}

std::size_t rowByteCount(const CVPixelBufferPoolAttributes& attributes,
                         const PixelPlaneLayout& layout) {
    const int blocks =
        dividedRoundingUp(attributes.width + attributes.extendedPixelsRight, layout.widthDivisor);
    return roundedUp(static_cast<std::size_t>(blocks) * layout.bytesPerBlock,
                     static_cast<std::size_t>(attributes.bytesPerRowAlignment));
}

std::size_t rowCount(const CVPixelBufferPoolAttributes& attributes,
                     const PixelPlaneLayout& layout) {
    return static_cast<std::size_t>(dividedRoundingUp(
        attributes.height + attributes.extendedPixelsBottom, layout.heightDivisor));
}

} // namespace

CVPixelBufferRef CVPixelBuffer::overMemory(const Geometry& geometry, std::shared_ptr<void> owner) {
    CVPixelBufferRef made(new CVPixelBuffer);
    made->geometry_ = geometry;
    made->owner_ = std::move(owner);
    return made;
}

CVPixelBufferRef CVPixelBuffer::wrappingFrame(ffmpeg::Frame frame, OSType pixelFormat) {
    const auto* descriptor = pixelFormatDescriptor(pixelFormat);
    if (descriptor == nullptr || frame == nullptr ||
        ffmpegPixelFormat(pixelFormat) != frame->format) {
        return nullptr;
    }
    Geometry geometry{pixelFormat, frame->width, frame->height, 1, {}};
    setPlaneSizes(geometry, *descriptor);
    for (std::size_t i = 0; i < static_cast<std::size_t>(geometry.planeCount); ++i) {
        const int visibleBytes = geometry.planes[i].width * descriptor->planes[i].bytesPerBlock;
        if (frame->data[i] == nullptr || frame->linesize[i] < visibleBytes) {
            return nullptr;
        }
        geometry.planes[i].baseAddress = frame->data[i];
        geometry.planes[i].bytesPerRow = static_cast<std::size_t>(frame->linesize[i]);
    }
    return overMemory(geometry, std::shared_ptr<AVFrame>(std::move(frame)));
}

CVPixelBufferRef CVPixelBuffer::onDevice(ffmpeg::Frame frame, OSType pixelFormat) {
    if (frame == nullptr || frame->hw_frames_ctx == nullptr) {
        return nullptr;
    }
    CVPixelBufferRef made(new CVPixelBuffer);
    made->geometry_ = {pixelFormat, frame->width, frame->height, 1, {}};
    if (const auto* descriptor = pixelFormatDescriptor(pixelFormat)) {
        setPlaneSizes(made->geometry_, *descriptor);
    }
    made->deviceFrame_ = std::move(frame);
    return made;
}

bool CVPixelBuffer::isPlanar() const {
    const auto* descriptor = pixelFormatDescriptor(geometry_.pixelFormat);
    return descriptor != nullptr && descriptor->isPlanar;
}

std::size_t CVPixelBuffer::dataSize() const {
    const auto* descriptor = pixelFormatDescriptor(geometry_.pixelFormat);
    std::size_t size = 0;
    for (std::size_t i = 0; i < static_cast<std::size_t>(geometry_.planeCount); ++i) {
        const auto& plane = geometry_.planes[i];
        const int bytesPerBlock = descriptor == nullptr ? 1 : descriptor->planes[i].bytesPerBlock;
        const auto bytesPerRow = plane.bytesPerRow > 0
                                     ? plane.bytesPerRow
                                     : static_cast<std::size_t>(plane.width) * bytesPerBlock;
        size += bytesPerRow * static_cast<std::size_t>(plane.height);
    }
    return size;
}

void CVPixelBuffer::setAttachment(std::string_view key, CVAttachmentValue value) {
    attachments_.insert_or_assign(std::string(key), std::move(value));
}

void CVPixelBuffer::setAttachments(const CVAttachments& attachments) {
    if (attachments_.empty()) {
        attachments_ = attachments;
        return;
    }
    for (const auto& [key, value] : attachments) {
        setAttachment(key, value);
    }
}

void CVPixelBuffer::removeAttachment(std::string_view key) {
    if (const auto found = attachments_.find(key); found != attachments_.end()) {
        attachments_.erase(found);
    }
}

CVPixelBufferPool::CVPixelBufferPool(CVPixelBufferPoolAttributes attributes)
    : attributes_(std::move(attributes)) {
    const auto* descriptor = pixelFormatDescriptor(attributes_.pixelFormat);
    if (descriptor == nullptr) {
        throwCoreVideoError(kCVReturnInvalidPixelFormat);
    }
    checkAttributes(attributes_);
    geometry_ = {attributes_.pixelFormat, attributes_.width, attributes_.height, 1, {}};
    setPlaneSizes(geometry_, *descriptor);
    std::size_t total = 0;
    for (std::size_t i = 0; i < static_cast<std::size_t>(descriptor->planeCount); ++i) {
        const std::size_t rowBytes = rowByteCount(attributes_, descriptor->planes[i]);
        geometry_.planes[i].bytesPerRow = rowBytes;
        offsets_[i] = total;
        total += roundedUp(rowBytes * rowCount(attributes_, descriptor->planes[i]), 64);
    }
    // Vector instructions of converters read and write a little past the last row.
    pool_.reset(av_buffer_pool_init(total + AV_INPUT_BUFFER_PADDING_SIZE, allocatePictureMemory));
    if (pool_ == nullptr) {
        throwCoreVideoError(kCVReturnAllocationFailed);
    }
}

CVPixelBufferRef CVPixelBufferPool::makePixelBuffer() const {
    ffmpeg::BufferRef buffer(av_buffer_pool_get(pool_.get()));
    if (buffer == nullptr) {
        throwCoreVideoError(kCVReturnPoolAllocationFailed);
    }
    auto geometry = geometry_;
    for (std::size_t i = 0; i < static_cast<std::size_t>(geometry.planeCount); ++i) {
        geometry.planes[i].baseAddress = buffer->data + offsets_[i];
    }
    auto pixelBuffer =
        CVPixelBuffer::overMemory(geometry, std::shared_ptr<AVBufferRef>(std::move(buffer)));
    pixelBuffer->setAttachments(attributes_.propagatedAttachments);
    return pixelBuffer;
}

} // namespace zelvane
