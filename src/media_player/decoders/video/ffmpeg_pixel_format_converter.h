// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "core_media/cv_pixel_buffer.h"
#include "core_media/ffmpeg_handles.h"
#include "core_media/ffmpeg_pixel_format.h"
#include "media_player/decoders/video/grey_converter.h"

namespace zelvane {

/// Converts decoded pictures of one size and layout to a pixel format that the display supports.
/// One thread at a time.
class FFmpegPixelFormatConverter {
  public:
    /// Throws allocationFailure where the layout is unknown or cannot be converted, or a size is
    /// below 1.
    FFmpegPixelFormatConverter(AVPixelFormat sourceFormat, AVColorRange colorRange, int width,
                               int height);

    OSType destinationPixelFormat() const { return destinationPixelFormat_; }
    AVPixelFormat destinationPixelFormatFFmpeg() const { return destinationPixelFormatFFmpeg_; }
    /// False when a frame's memory already has the layout of the pixel format.
    bool isConversionNeeded() const { return isConversionNeeded_; }

    /// `frame` has the layout and size of construction, `destination` the destination format and
    /// the same size. Throws SystemError or DataMismatchError where the destination is not in
    /// memory.
    void convert(const AVFrame& frame, const CVPixelBuffer& destination);

  private:
    void convertDirectly(const AVFrame& frame, const CVPixelBuffer& destination) const;
    void convertThroughPlanes(const AVFrame& frame, const CVPixelBuffer& destination);
    void preparePlanes(int width);

    ffmpeg::Scaler imageScalingContext_;
    std::optional<GreyConverter> greyConverter_;
    int height_;
    OSType destinationPixelFormat_ = 0;
    AVPixelFormat destinationPixelFormatFFmpeg_ = AV_PIX_FMT_NONE;
    bool isConversionNeeded_ = false;
    /// For packed 4:2:2 of an odd width, whose last pixel swscale leaves out: the picture as
    /// planes.
    ffmpeg::Frame planes_;
};

} // namespace zelvane
