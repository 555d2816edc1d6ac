// SPDX-License-Identifier: GPL-3.0-or-later
#include "media_player/decoders/video/software_frame_packager.h"

#include <algorithm>
#include <array>
#include <string>
#include <utility>

#include "core_media/ffmpeg_error.h"
#include "core_media/ffmpeg_pixel_buffer.h"

namespace zelvane {
namespace {

struct RowLayout {
    int extendedPixelsRight = 0;
    int extendedPixelsBottom = 0;
    int bytesPerRowAlignment = 16;
};

/// The decoder's own layout of such pictures, so that rows can be copied whole.
RowLayout rowLayoutOfDecoder(AVCodecContext& context, const PictureTraits& traits) {
    int alignedWidth = traits.width;
    int alignedHeight = traits.height;
    std::array<int, AV_NUM_DATA_POINTERS> alignments{};
    avcodec_align_dimensions2(&context, &alignedWidth, &alignedHeight, alignments.data());
    RowLayout layout{alignedWidth - traits.width, alignedHeight - traits.height, 16};
    for (const int alignment : alignments) {
        layout.bytesPerRowAlignment = std::max(layout.bytesPerRowAlignment, alignment);
    }
    return layout;
}

CVAttachments poolAttachments(const PictureTraits& traits,
                              const FFmpegPixelFormatConverter& converter) {
    auto attachments = colorAttachmentsOrUsual(traits.colors, converter.destinationPixelFormat(),
                                               traits.width, traits.height);
    attachments.insert_or_assign(std::string(kCVImageBufferPixelAspectRatioKey),
                                 pixelAspectRatioAttachment(traits.sampleAspectRatio));
    return attachments;
}

CVPixelBufferPoolAttributes poolAttributes(AVCodecContext& context, const PictureTraits& traits,
                                           const FFmpegPixelFormatConverter& converter) {
    const auto layout =
        converter.isConversionNeeded() ? RowLayout{} : rowLayoutOfDecoder(context, traits);
    CVPixelBufferPoolAttributes attributes;
    attributes.pixelFormat = converter.destinationPixelFormat();
    attributes.width = traits.width;
    attributes.height = traits.height;
    attributes.extendedPixelsRight = layout.extendedPixelsRight;
    attributes.extendedPixelsBottom = layout.extendedPixelsBottom;
    attributes.bytesPerRowAlignment = layout.bytesPerRowAlignment;
    attributes.propagatedAttachments = poolAttachments(traits, converter);
    return attributes;
}

template <class PixelFormats>
bool contains(const PixelFormats& pixelFormats, OSType pixelFormat) {
    return std::find(pixelFormats.begin(), pixelFormats.end(), pixelFormat) != pixelFormats.end();
}

/// The replacement for a format that the display must not receive; none for all others.
std::optional<OSType> replacementPixelFormat(OSType pixelFormat) {
    constexpr std::array kReplacedByBGRA{kCVPixelFormatType_420YpCbCr8BiPlanarVideoRange,
                                         kCVPixelFormatType_420YpCbCr8BiPlanarFullRange};
    constexpr std::array<OSType, 0> kReplacedBy64ARGB{};
    if (contains(kReplacedBy64ARGB, pixelFormat)) {
        return kCVPixelFormatType_64ARGB;
    }
    return contains(kReplacedByBGRA, pixelFormat) ? std::optional(kCVPixelFormatType_32BGRA)
                                                  : std::nullopt;
}

/// The frame's own memory as a pixel buffer; null where its rows run upward.
CVPixelBufferRef sharedPixelBuffer(const AVFrame& frame, const CVPixelBufferPool& pool) {
    ffmpeg::Frame shared(checkedFFmpegAllocation(av_frame_clone(&frame)));
    const auto& attributes = pool.attributes();
    shared->format = ffmpegPixelFormat(attributes.pixelFormat);
    auto pixelBuffer = CVPixelBuffer::wrappingFrame(std::move(shared), attributes.pixelFormat);
    if (pixelBuffer != nullptr) {
        pixelBuffer->setAttachments(attributes.propagatedAttachments);
    }
    return pixelBuffer;
}

} // namespace

PixelAspectRatio pixelAspectRatioAttachment(AVRational sampleAspectRatio) {
    if (sampleAspectRatio.num <= 0 || sampleAspectRatio.den <= 0) {
        return {1, 1};
    }
    return {sampleAspectRatio.num, sampleAspectRatio.den};
}

PictureTraits PictureTraits::of(const AVCodecContext& context) {
    return {canonicalLayout(context.pix_fmt, ffmpeg::colorRangeOf(context)), context.width,
            context.height, CodedColors::of(context), context.sample_aspect_ratio};
}

PictureTraits PictureTraits::of(const AVFrame& frame) {
    return {canonicalLayout(static_cast<AVPixelFormat>(frame.format), ffmpeg::colorRangeOf(frame)),
            frame.width, frame.height, CodedColors::of(frame), frame.sample_aspect_ratio};
}

SoftwareFramePackager::SoftwareFramePackager(AVCodecContext& context, const PictureTraits& traits)
    : traits_(traits), ffmpegPixelFormatConverter_(traits.layout.format, traits.layout.range,
                                                   traits.width, traits.height),
      pixelBufferPool_(poolAttributes(context, traits, ffmpegPixelFormatConverter_)) {
    auto attributes = pixelBufferPool_.attributes();
    if (const auto replacement = replacementPixelFormat(attributes.pixelFormat)) {
        attributes.pixelFormat = *replacement;
        attributes.bytesPerRowAlignment = CVPixelBufferPoolAttributes().bytesPerRowAlignment;
        pixelBufferPoolForConvertingFromBlacklistedPixelFormat_.emplace(std::move(attributes));
        pixelTransferSession_.emplace();
    }
}

CVPixelBufferRef
SoftwareFramePackager::makePixelBufferForSoftwareDecodedFrame(const AVFrame& frame) {
    auto pixelBuffer = makePixelBufferOfDestinationFormat(frame);
    return pixelTransferSession_ ? replacementPixelBuffer(frame, *pixelBuffer) : pixelBuffer;
}

CVPixelBufferRef SoftwareFramePackager::makePixelBufferOfDestinationFormat(const AVFrame& frame) {
    if (!ffmpegPixelFormatConverter_.isConversionNeeded()) {
        return nativePixelBuffer(frame);
    }
    auto pixelBuffer = pixelBufferPool_.makePixelBuffer();
    ffmpegPixelFormatConverter_.convert(frame, *pixelBuffer);
    return pixelBuffer;
}

CVPixelBufferRef SoftwareFramePackager::nativePixelBuffer(const AVFrame& frame) const {
    if (auto shared = sharedPixelBuffer(frame, pixelBufferPool_)) {
        return shared;
    }
    auto pixelBuffer = pixelBufferPool_.makePixelBuffer();
    fillData(*pixelBuffer, frame.data, frame.linesize);
    return pixelBuffer;
}

CVPixelBufferRef SoftwareFramePackager::replacementPixelBuffer(const AVFrame& frame,
                                                               CVPixelBuffer& blacklisted) {
    auto replacement = pixelBufferPoolForConvertingFromBlacklistedPixelFormat_->makePixelBuffer();
    colorConfigurator_.configure(blacklisted, frame);
    colorConfigurator_.configure(*replacement, frame);
    pixelTransferSession_->transferImage(blacklisted, *replacement);
    return replacement;
}

} // namespace zelvane
