// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <span>

#include "core_media/ffmpeg_handles.h"

namespace zelvane {

/// The machine's video decoding hardware. Any thread.
class VideoDecodingHardware {
  public:
    virtual ~VideoDecodingHardware() = default;
    /// A device that decoders can use. Throws FFmpegError where there is none; logs nothing.
    virtual ffmpeg::BufferRef makeHardwareDeviceContext() = 0;
};

/// The first device that opens: VAAPI, CUDA or VDPAU.
class SystemVideoDecodingHardware final : public VideoDecodingHardware {
  public:
    ffmpeg::BufferRef makeHardwareDeviceContext() override;
};

/// The format of frames that lie on devices of a kind; AV_PIX_FMT_NONE for a kind that we do not
/// use.
AVPixelFormat devicePixelFormat(AVHWDeviceType type);

/// Which of the formats that a decoder offers it shall use: `deviceFormat` when it is offered, else
/// the one that the display likes best, else the last in memory. AV_PIX_FMT_NONE as `deviceFormat`
/// leaves software formats alone.
AVPixelFormat chooseDecoderFormat(std::span<const AVPixelFormat> offered,
                                  AVPixelFormat deviceFormat);

} // namespace zelvane
