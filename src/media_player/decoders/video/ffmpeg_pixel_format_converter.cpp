// SPDX-License-Identifier: GPL-3.0-or-later
#include "media_player/decoders/video/ffmpeg_pixel_format_converter.h"

#include "core_media/ffmpeg_error.h"
#include "core_media/ffmpeg_pixel_buffer.h"
#include "core_media/planar_to_biplanar.h"
#include "foundation/log.h"

namespace zelvane {
namespace {

/// swscale aborts the process for AV_PIX_FMT_NONE.
bool canScale(AVPixelFormat source, AVPixelFormat destination, int width, int height) {
    return width > 0 && height > 0 && av_pix_fmt_desc_get(source) != nullptr &&
           av_pix_fmt_desc_get(destination) != nullptr && sws_isSupportedInput(source) != 0 &&
           sws_isSupportedOutput(destination) != 0;
}

ffmpeg::Scaler makeScaler(AVPixelFormat source, AVPixelFormat destination, int width, int height) {
    SwsContext* context = canScale(source, destination, width, height)
                              ? sws_getContext(width, height, source, width, height, destination, 0,
                                               nullptr, nullptr, nullptr)
                              : nullptr;
    if (context == nullptr) {
        logMessage("sws_getContext failed.");
        throw FFmpegError::simple(FFmpegError::Case::allocationFailure);
    }
    return ffmpeg::Scaler(context);
}

bool isPacked422(AVPixelFormat format) {
    return format == AV_PIX_FMT_UYVY422 || format == AV_PIX_FMT_YUYV422;
}

/// In a row of odd length the last pair repeats its only pixel.
template <int lumaOffset>
void packRow(const std::uint8_t* y, const std::uint8_t* cb, const std::uint8_t* cr, int width,
             std::uint8_t* packed) {
    constexpr int chromaOffset = 1 - lumaOffset;
    for (int x = 0; x < width; x += 2, packed += 4) {
        packed[lumaOffset] = y[x];
        packed[lumaOffset + 2] = y[x + 1 < width ? x + 1 : x];
        packed[chromaOffset] = cb[x / 2];
        packed[chromaOffset + 2] = cr[x / 2];
    }
}

void packRows(const AVFrame& planes, AVPixelFormat format, const FFmpegPointers& packed) {
    for (int y = 0; y < planes.height; ++y) {
        const auto row = [&](int plane) {
            return planes.data[plane] + static_cast<std::ptrdiff_t>(y) * planes.linesize[plane];
        };
        auto* destination = packed.data[0] + static_cast<std::ptrdiff_t>(y) * packed.linesize[0];
        if (format == AV_PIX_FMT_UYVY422) {
            packRow<1>(row(0), row(1), row(2), planes.width, destination);
        } else {
            packRow<0>(row(0), row(1), row(2), planes.width, destination);
        }
    }
}

} // namespace

FFmpegPixelFormatConverter::FFmpegPixelFormatConverter(AVPixelFormat sourceFormat,
                                                       AVColorRange colorRange, int width,
                                                       int height)
    : height_(height) {
    const auto source = canonicalLayout(sourceFormat, colorRange);
    const auto direct = correspondingPixelFormat(source);
    const bool isDirect = direct && isSupportedPixelFormat(*direct);
    destinationPixelFormat_ = isDirect ? *direct : conversionTarget(source);
    destinationPixelFormatFFmpeg_ = ffmpegPixelFormat(destinationPixelFormat_);
    isConversionNeeded_ = source.format != destinationPixelFormatFFmpeg_;
    const bool losesLastPixel = width % 2 != 0 && isPacked422(destinationPixelFormatFFmpeg_);
    if (isConversionNeeded_ && losesLastPixel) {
        preparePlanes(width);
    }
    imageScalingContext_ = makeScaler(
        source.format, planes_ ? AV_PIX_FMT_YUV422P : destinationPixelFormatFFmpeg_, width, height);
    if (GreyConverter::canConvert(source.format)) {
        greyConverter_.emplace(source);
    }
}

void FFmpegPixelFormatConverter::preparePlanes(int width) {
    planes_.reset(checkedFFmpegAllocation(av_frame_alloc()));
    planes_->format = AV_PIX_FMT_YUV422P;
    planes_->width = width;
    planes_->height = height_;
    checkedFFmpegCall([&] { return av_frame_get_buffer(planes_.get(), 0); });
}

void FFmpegPixelFormatConverter::convert(const AVFrame& frame, const CVPixelBuffer& destination) {
    if (canPackAsP010(static_cast<AVPixelFormat>(frame.format)) &&
        destinationPixelFormatFFmpeg_ == AV_PIX_FMT_P010LE) {
        withPointersForFFmpeg(destination, [&](const FFmpegPointers& pointers) {
            packPlanar420AsP010(frame, pointers);
        });
    } else if (greyConverter_) {
        withPointersForFFmpeg(destination, [&](const FFmpegPointers& pointers) {
            greyConverter_->convert(frame, pointers);
        });
    } else if (planes_ == nullptr) {
        convertDirectly(frame, destination);
    } else {
        convertThroughPlanes(frame, destination);
    }
}

void FFmpegPixelFormatConverter::convertDirectly(const AVFrame& frame,
                                                 const CVPixelBuffer& destination) const {
    withPointersForFFmpeg(destination, [&](const FFmpegPointers& pointers) {
        checkedFFmpegCall([&] {
            return sws_scale(imageScalingContext_.get(), frame.data, frame.linesize, 0, height_,
                             pointers.data.data(), pointers.linesize.data());
        });
    });
}

void FFmpegPixelFormatConverter::convertThroughPlanes(const AVFrame& frame,
                                                      const CVPixelBuffer& destination) {
    checkedFFmpegCall([&] {
        return sws_scale(imageScalingContext_.get(), frame.data, frame.linesize, 0, height_,
                         planes_->data, planes_->linesize);
    });
    withPointersForFFmpeg(destination, [&](const FFmpegPointers& pointers) {
        packRows(*planes_, destinationPixelFormatFFmpeg_, pointers);
    });
}

} // namespace zelvane
