// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>
#include <optional>

#include "core_media/color_attachments.h"
#include "core_media/cv_pixel_buffer.h"
#include "core_media/ffmpeg_pixel_format.h"
#include "core_media/pixel_transfer.h"
#include "media_player/decoders/video/ffmpeg_pixel_format_converter.h"

namespace zelvane {

/// Width over height of a pixel as an attachment; an unknown ratio is that of square pixels.
PixelAspectRatio pixelAspectRatioAttachment(AVRational sampleAspectRatio);

/// What decides how pictures are packaged. Two pictures of equal traits go the same way.
struct PictureTraits {
    FFmpegPixelLayout layout;
    int width = 0;
    int height = 0;
    CodedColors colors;
    AVRational sampleAspectRatio{0, 1};

    static PictureTraits of(const AVCodecContext& context);
    static PictureTraits of(const AVFrame& frame);

    bool isOfSameMemoryAs(const PictureTraits& other) const {
        return layout == other.layout && width == other.width && height == other.height;
    }
    bool saysTheSameAs(const PictureTraits& other) const {
        return colors == other.colors && pixelAspectRatioAttachment(sampleAspectRatio) ==
                                             pixelAspectRatioAttachment(other.sampleAspectRatio);
    }
};

/// Makes pixel buffers of software frames that share their traits. A frame whose memory already is
/// what the display takes is passed on as it is, without a copy. One thread at a time.
class SoftwareFramePackager {
  public:
    /// `context` tells how its decoder lays out frames. Throws FFmpegError or SystemError.
    SoftwareFramePackager(AVCodecContext& context, const PictureTraits& traits);

    const PictureTraits& traits() const { return traits_; }
    /// Throws SystemError when a pool has no buffer to give, or DataMismatchError.
    CVPixelBufferRef makePixelBufferForSoftwareDecodedFrame(const AVFrame& frame);

  private:
    CVPixelBufferRef makePixelBufferOfDestinationFormat(const AVFrame& frame);
    CVPixelBufferRef nativePixelBuffer(const AVFrame& frame) const;

    CVPixelBufferRef replacementPixelBuffer(const AVFrame& frame, CVPixelBuffer& blacklisted);

    PictureTraits traits_;
    FFmpegPixelFormatConverter ffmpegPixelFormatConverter_;
    std::unique_ptr<CVPixelBufferPool> pixelBufferPool_;
    /// With the session below for a destination format that the display must not be given.
    std::unique_ptr<CVPixelBufferPool> pixelBufferPoolForConvertingFromBlacklistedPixelFormat_;
    std::optional<PixelTransferSession> pixelTransferSession_;
    FrameColorConfigurator colorConfigurator_;
};

} // namespace zelvane
