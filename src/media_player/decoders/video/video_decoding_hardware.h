// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <mutex>
#include <span>

#include "core_media/ffmpeg_handles.h"

namespace zelvane {

/// The machine's video decoding hardware. Any thread.
class VideoDecodingHardware {
  public:
    virtual ~VideoDecodingHardware() = default;
    /// A device that decoders can use; null where there is none.
    virtual ffmpeg::BufferRef makeHardwareDeviceContext() = 0;
};

/// The first device that opens: VAAPI, CUDA or VDPAU. Where none does, one log line says why, and
/// no device is tried again.
class SystemVideoDecodingHardware final : public VideoDecodingHardware {
  public:
    /// Opens a device of a kind, or returns an FFmpeg status below zero.
    using OpenDevice = std::function<int(AVHWDeviceType type, AVBufferRef*& device)>;

    SystemVideoDecodingHardware();
    explicit SystemVideoDecodingHardware(OpenDevice openDevice);

    ffmpeg::BufferRef makeHardwareDeviceContext() override;

  private:
    const OpenDevice openDevice_;
    std::mutex mutex_;
    bool isAbsent_ = false;
};

/// The format of frames on devices of a kind; AV_PIX_FMT_NONE for unsupported kinds.
AVPixelFormat devicePixelFormat(AVHWDeviceType type);

/// Chooses one of the formats that a decoder offers: `deviceFormat` if it is offered, else the one
/// that the display prefers, else the last software format. With AV_PIX_FMT_NONE as `deviceFormat`,
/// a software format.
AVPixelFormat chooseDecoderFormat(std::span<const AVPixelFormat> offered,
                                  AVPixelFormat deviceFormat);

} // namespace zelvane
