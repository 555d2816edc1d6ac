// SPDX-License-Identifier: GPL-3.0-or-later
#include "media_player/decoders/video/video_decoding_hardware.h"

#include <algorithm>
#include <array>
#include <vector>

#include "core_media/ffmpeg_error.h"
#include "core_media/ffmpeg_pixel_format.h"

namespace zelvane {
namespace {

std::vector<AVPixelFormat> makePreferredFormats() {
    std::vector<OSType> ordered{
        kCVPixelFormatType_420YpCbCr10BiPlanarVideoRange,
        kCVPixelFormatType_420YpCbCr10BiPlanarFullRange,
        kCVPixelFormatType_32BGRA,
        kCVPixelFormatType_422YpCbCr8,
        kCVPixelFormatType_422YpCbCr8FullRange,
    };
    const auto supported = supportedPixelFormats();
    ordered.insert(ordered.end(), supported.begin(), supported.end());
    std::vector<AVPixelFormat> formats;
    for (const OSType pixelFormat : ordered) {
        const auto format = ffmpegPixelFormat(pixelFormat);
        const bool isKnown = std::find(formats.begin(), formats.end(), format) != formats.end();
        if (format != AV_PIX_FMT_NONE && !isKnown) {
            formats.push_back(format);
        }
    }
    return formats;
}

const std::vector<AVPixelFormat>& preferredFormats() {
    static const std::vector<AVPixelFormat> formats = makePreferredFormats();
    return formats;
}

bool contains(const std::vector<AVPixelFormat>& formats, AVPixelFormat format) {
    return std::find(formats.begin(), formats.end(), format) != formats.end();
}

} // namespace

ffmpeg::BufferRef SystemVideoDecodingHardware::makeHardwareDeviceContext() {
    constexpr std::array kTypes{AV_HWDEVICE_TYPE_VAAPI, AV_HWDEVICE_TYPE_CUDA,
                                AV_HWDEVICE_TYPE_VDPAU};
    int status = AVERROR(ENODEV);
    for (const auto type : kTypes) {
        AVBufferRef* device = nullptr;
        do {
            status = av_hwdevice_ctx_create(&device, type, nullptr, nullptr, 0);
        } while (status == AVERROR(EAGAIN));
        if (status >= 0) {
            return ffmpeg::BufferRef(device);
        }
    }
    throw FFmpegError::fromStatus(status);
}

AVPixelFormat devicePixelFormat(AVHWDeviceType type) {
    switch (type) {
    case AV_HWDEVICE_TYPE_VAAPI:
        return AV_PIX_FMT_VAAPI;
    case AV_HWDEVICE_TYPE_CUDA:
        return AV_PIX_FMT_CUDA;
    case AV_HWDEVICE_TYPE_VDPAU:
        return AV_PIX_FMT_VDPAU;
    default:
        return AV_PIX_FMT_NONE;
    }
}

AVPixelFormat chooseDecoderFormat(std::span<const AVPixelFormat> offered,
                                  AVPixelFormat deviceFormat) {
    std::vector<AVPixelFormat> candidates;
    AVPixelFormat fallback = AV_PIX_FMT_NONE;
    for (const auto format : offered) {
        const auto* descriptor = av_pix_fmt_desc_get(format);
        if (descriptor == nullptr) {
            continue;
        }
        if ((descriptor->flags & AV_PIX_FMT_FLAG_HWACCEL) == 0) {
            candidates.push_back(format);
            fallback = format;
        } else if (format == deviceFormat) {
            return format;
        }
    }
    const auto& preferred = preferredFormats();
    const auto chosen = std::find_if(preferred.begin(), preferred.end(),
                                     [&](auto format) { return contains(candidates, format); });
    return chosen == preferred.end() ? fallback : *chosen;
}

} // namespace zelvane
