// SPDX-License-Identifier: GPL-3.0-or-later
#include "core_media/ffmpeg_pixel_format.h"

namespace zelvane {

AVPixelFormat ffmpegPixelFormat(OSType pixelFormat) {
    switch (pixelFormat) {
    case kCVPixelFormatType_24RGB:
        return AV_PIX_FMT_RGB24;
    case kCVPixelFormatType_32ARGB:
        return AV_PIX_FMT_ARGB;
    case kCVPixelFormatType_32BGRA:
        return AV_PIX_FMT_BGRA;
    case kCVPixelFormatType_422YpCbCr8:
        return AV_PIX_FMT_UYVY422;
    case kCVPixelFormatType_422YpCbCr8_yuvs:
    case kCVPixelFormatType_422YpCbCr8FullRange:
        return AV_PIX_FMT_YUYV422;
    case kCVPixelFormatType_4444AYpCbCr16:
        return AV_PIX_FMT_AYUV64LE;
    case kCVPixelFormatType_420YpCbCr8Planar:
    case kCVPixelFormatType_420YpCbCr8PlanarFullRange:
        return AV_PIX_FMT_YUV420P;
    case kCVPixelFormatType_420YpCbCr8BiPlanarVideoRange:
    case kCVPixelFormatType_420YpCbCr8BiPlanarFullRange:
        return AV_PIX_FMT_NV12;
    case kCVPixelFormatType_420YpCbCr10BiPlanarVideoRange:
    case kCVPixelFormatType_420YpCbCr10BiPlanarFullRange:
        return AV_PIX_FMT_P010LE;
    default:
        return AV_PIX_FMT_NONE;
    }
}

} // namespace zelvane
