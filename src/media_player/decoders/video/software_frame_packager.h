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

/// Width over height of a pixel as an attachment; an unknown ratio counts as square pixels.
PixelAspectRatio pixelAspectRatioAttachment(AVRational sampleAspectRatio);

/// The properties that decide how a picture is packaged.
struct PictureTraits {
    FFmpegPixelLayout layout;
    int width = 0;
    int height = 0;
    CodedColors colors;
    AVRational sampleAspectRatio{0, 1};

    static PictureTraits of(const AVCodecContext& context);
    static PictureTraits of(const AVFrame& frame);

    bool hasSameLayoutAs(const PictureTraits& other) const {
        return layout == other.layout && width == other.width && height == other.height;
    }
    bool hasSameMetadataAs(const PictureTraits& other) const {
        return colors == other.colors && pixelAspectRatioAttachment(sampleAspectRatio) ==
                                             pixelAspectRatioAttachment(other.sampleAspectRatio);
    }
};

/// Makes pixel buffers of software frames that share their traits. A frame in a layout that the
/// display supports is wrapped without a copy. One thread at a time.
class SoftwareFramePackager {
  public:
    /// `context` determines the decoder's frame layout. Throws FFmpegError or SystemError.
    SoftwareFramePackager(AVCodecContext& context, const PictureTraits& traits);

    const PictureTraits& traits() const { return traits_; }
    /// Throws SystemError when a pool cannot allocate, or DataMismatchError.
    CVPixelBufferRef makePixelBufferForSoftwareDecodedFrame(const AVFrame& frame);

  private:
    CVPixelBufferRef makePixelBufferOfDestinationFormat(const AVFrame& frame);
    CVPixelBufferRef nativePixelBuffer(const AVFrame& frame) const;

    CVPixelBufferRef replacementPixelBuffer(const AVFrame& frame, CVPixelBuffer& blacklisted);

    PictureTraits traits_;
    FFmpegPixelFormatConverter ffmpegPixelFormatConverter_;
    CVPixelBufferPool pixelBufferPool_;
    /// Set, with the session below, for a destination format that the display must not receive.
    std::optional<CVPixelBufferPool> pixelBufferPoolForConvertingFromBlacklistedPixelFormat_;
    std::optional<PixelTransferSession> pixelTransferSession_;
    FrameColorConfigurator colorConfigurator_;
};

} // namespace zelvane
