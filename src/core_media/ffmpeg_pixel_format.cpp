// SPDX-License-Identifier: GPL-3.0-or-later
#include "core_media/ffmpeg_pixel_format.h"

#include <algorithm>
#include <array>

namespace zelvane {
namespace {

struct Correspondence {
    OSType pixelFormat;
    AVPixelFormat ffmpegFormat;
    /// AVCOL_RANGE_UNSPECIFIED means any.
    AVColorRange range;
};

constexpr std::array kCorrespondences{
    Correspondence{kCVPixelFormatType_24RGB, AV_PIX_FMT_RGB24, AVCOL_RANGE_UNSPECIFIED},
    Correspondence{kCVPixelFormatType_32ARGB, AV_PIX_FMT_ARGB, AVCOL_RANGE_UNSPECIFIED},
    Correspondence{kCVPixelFormatType_32BGRA, AV_PIX_FMT_BGRA, AVCOL_RANGE_UNSPECIFIED},
    Correspondence{kCVPixelFormatType_422YpCbCr8, AV_PIX_FMT_UYVY422, AVCOL_RANGE_MPEG},
    Correspondence{kCVPixelFormatType_4444AYpCbCr16, AV_PIX_FMT_AYUV64LE, AVCOL_RANGE_MPEG},
    Correspondence{kCVPixelFormatType_420YpCbCr8Planar, AV_PIX_FMT_YUV420P, AVCOL_RANGE_MPEG},
    Correspondence{kCVPixelFormatType_420YpCbCr8PlanarFullRange, AV_PIX_FMT_YUV420P,
                   AVCOL_RANGE_JPEG},
    Correspondence{kCVPixelFormatType_420YpCbCr8BiPlanarVideoRange, AV_PIX_FMT_NV12,
                   AVCOL_RANGE_MPEG},
    Correspondence{kCVPixelFormatType_420YpCbCr8BiPlanarFullRange, AV_PIX_FMT_NV12,
                   AVCOL_RANGE_JPEG},
    Correspondence{kCVPixelFormatType_422YpCbCr8_yuvs, AV_PIX_FMT_YUYV422, AVCOL_RANGE_MPEG},
    Correspondence{kCVPixelFormatType_422YpCbCr8FullRange, AV_PIX_FMT_YUYV422, AVCOL_RANGE_JPEG},
    Correspondence{kCVPixelFormatType_420YpCbCr10BiPlanarVideoRange, AV_PIX_FMT_P010LE,
                   AVCOL_RANGE_MPEG},
    Correspondence{kCVPixelFormatType_420YpCbCr10BiPlanarFullRange, AV_PIX_FMT_P010LE,
                   AVCOL_RANGE_JPEG},
};

constexpr std::array kSupportedPixelFormats{
    kCVPixelFormatType_24RGB,
    kCVPixelFormatType_32ARGB,
    kCVPixelFormatType_32BGRA,
    kCVPixelFormatType_64ARGB,
    fourCharCode("R10k"),
    kCVPixelFormatType_422YpCbCr8,
    fourCharCode("v408"),
    fourCharCode("r408"),
    fourCharCode("y408"),
    fourCharCode("v216"),
    fourCharCode("v210"),
    fourCharCode("v410"),
    kCVPixelFormatType_420YpCbCr8Planar,
    kCVPixelFormatType_420YpCbCr8PlanarFullRange,
    fourCharCode("a2vy"),
    kCVPixelFormatType_420YpCbCr8BiPlanarVideoRange,
    kCVPixelFormatType_420YpCbCr8BiPlanarFullRange,
    kCVPixelFormatType_422YpCbCr8_yuvs,
    kCVPixelFormatType_422YpCbCr8FullRange,
    fourCharCode("L008"),
    fourCharCode("L00h"),
    fourCharCode("L00f"),
    fourCharCode("RGhA"),
    fourCharCode("RGfA"),
    kCVPixelFormatType_420YpCbCr10BiPlanarVideoRange,
    fourCharCode("x422"),
    kCVPixelFormatType_420YpCbCr10BiPlanarFullRange,
    fourCharCode("xf22"),
    fourCharCode("v0a8"),
};

AVPixelFormat plainTwin(AVPixelFormat format) {
    switch (format) {
    case AV_PIX_FMT_YUVJ411P:
        return AV_PIX_FMT_YUV411P;
    case AV_PIX_FMT_YUVJ420P:
        return AV_PIX_FMT_YUV420P;
    case AV_PIX_FMT_YUVJ422P:
        return AV_PIX_FMT_YUV422P;
    case AV_PIX_FMT_YUVJ440P:
        return AV_PIX_FMT_YUV440P;
    case AV_PIX_FMT_YUVJ444P:
        return AV_PIX_FMT_YUV444P;
    default:
        return format;
    }
}

bool isGrey(AVPixelFormat format) {
    constexpr unsigned kColored = AV_PIX_FMT_FLAG_RGB | AV_PIX_FMT_FLAG_PAL;
    const auto* descriptor = av_pix_fmt_desc_get(format);
    if (descriptor == nullptr || (descriptor->flags & kColored) != 0) {
        return false;
    }
    const bool hasAlpha = (descriptor->flags & AV_PIX_FMT_FLAG_ALPHA) != 0;
    return descriptor->nb_components == (hasAlpha ? 2 : 1);
}

} // namespace

AVPixelFormat ffmpegPixelFormat(OSType pixelFormat) {
    const auto* found =
        std::find_if(kCorrespondences.begin(), kCorrespondences.end(),
                     [&](const auto& entry) { return entry.pixelFormat == pixelFormat; });
    return found == kCorrespondences.end() ? AV_PIX_FMT_NONE : found->ffmpegFormat;
}

FFmpegPixelLayout canonicalLayout(AVPixelFormat format, AVColorRange range) {
    const AVPixelFormat plain = plainTwin(format);
    const bool isFullRange = plain != format || range == AVCOL_RANGE_JPEG ||
                             (range == AVCOL_RANGE_UNSPECIFIED && isGrey(format));
    return {plain, isFullRange ? AVCOL_RANGE_JPEG : AVCOL_RANGE_MPEG};
}

std::optional<OSType> correspondingPixelFormat(const FFmpegPixelLayout& layout) {
    const auto canonical = canonicalLayout(layout.format, layout.range);
    const auto* found = std::find_if(
        kCorrespondences.begin(), kCorrespondences.end(), [&](const Correspondence& entry) {
            return entry.ffmpegFormat == canonical.format &&
                   (entry.range == AVCOL_RANGE_UNSPECIFIED || entry.range == canonical.range);
        });
    return found == kCorrespondences.end() ? std::nullopt : std::optional(found->pixelFormat);
}

std::span<const OSType> supportedPixelFormats() {
    return kSupportedPixelFormats;
}

bool isSupportedPixelFormat(OSType pixelFormat) {
    return std::find(kSupportedPixelFormats.begin(), kSupportedPixelFormats.end(), pixelFormat) !=
           kSupportedPixelFormats.end();
}

OSType conversionTarget(const FFmpegPixelLayout& layout) {
    const auto canonical = canonicalLayout(layout.format, layout.range);
    const auto* descriptor = av_pix_fmt_desc_get(canonical.format);
    if (descriptor == nullptr || descriptor->nb_components < 2 ||
        (descriptor->flags & AV_PIX_FMT_FLAG_RGB) != 0) {
        return kCVPixelFormatType_32BGRA;
    }
    const bool isFullRange = canonical.range == AVCOL_RANGE_JPEG;
    if (descriptor->comp[0].depth < 9) {
        return isFullRange ? kCVPixelFormatType_422YpCbCr8FullRange : kCVPixelFormatType_422YpCbCr8;
    }
    return isFullRange ? kCVPixelFormatType_420YpCbCr10BiPlanarFullRange
                       : kCVPixelFormatType_420YpCbCr10BiPlanarVideoRange;
}

} // namespace zelvane
