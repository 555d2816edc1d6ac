// SPDX-License-Identifier: GPL-3.0-or-later
#include "media_player/decoders/video/video_decoding_hardware.h"

#include <algorithm>
#include <array>
#include <string>
#include <utility>
#include <vector>

#include <fmt/format.h>

#include "core_media/ffmpeg_error.h"
#include "core_media/ffmpeg_pixel_format.h"
#include "foundation/log.h"

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

SystemVideoDecodingHardware::SystemVideoDecodingHardware()
    : SystemVideoDecodingHardware([](AVHWDeviceType type, AVBufferRef*& device) {
          return av_hwdevice_ctx_create(&device, type, nullptr, nullptr, 0);
      }) {}

SystemVideoDecodingHardware::SystemVideoDecodingHardware(OpenDevice openDevice)
    : openDevice_(std::move(openDevice)) {}

ffmpeg::BufferRef SystemVideoDecodingHardware::makeHardwareDeviceContext() {
    constexpr std::array<std::pair<AVHWDeviceType, const char*>, 3> kTypes{
        {{AV_HWDEVICE_TYPE_VAAPI, "VAAPI"},
         {AV_HWDEVICE_TYPE_CUDA, "CUDA"},
         {AV_HWDEVICE_TYPE_VDPAU, "VDPAU"}}};
    const std::lock_guard guard(mutex_);
    if (isAbsent_) {
        return nullptr;
    }
    std::string reasons;
    for (const auto& [type, name] : kTypes) {
        AVBufferRef* device = nullptr;
        int status = openDevice_(type, device);
        while (status == AVERROR(EAGAIN)) {
            status = openDevice_(type, device);
        }
        if (status >= 0) {
            return ffmpeg::BufferRef(device);
        }
        reasons += fmt::format("{}{}: {}", reasons.empty() ? "" : ", ", name,
                               FFmpegError::fromStatus(status).what());
    }
    isAbsent_ = true;
    logMessage("No hardware decoder: {}", reasons);
    return nullptr;
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
