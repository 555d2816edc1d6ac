// SPDX-License-Identifier: GPL-3.0-or-later
#include <algorithm>
#include <array>
#include <cstring>

#include "core_media/color_attachments.h"
#include "core_media/ffmpeg_error.h"
#include "media_player/decoders/subtitles/ffmpeg_subtitles_decoder.h"
#include "media_player/decoders/video/ffmpeg_pixel_format_converter.h"

namespace zelvane {
namespace {

/// No format has larger pictures, and each waiting subtitle may be as large.
constexpr std::int64_t kMaximumPixelCount = std::int64_t{4096} * 4096;
constexpr int kMaximumColorCount = 256;

using Palette = std::array<std::uint8_t, AVPALETTE_SIZE>;

/// A file may use indices outside its palette.
Palette completedPalette(const AVSubtitleRect& rectangle) {
    Palette palette{};
    const auto count = std::clamp(rectangle.nb_colors, 0, kMaximumColorCount);
    std::memcpy(palette.data(), rectangle.data[1], static_cast<std::size_t>(count) * 4);
    return palette;
}

CVPixelBufferRef makePixelBuffer(const AVSubtitleRect& rectangle, OSType pixelFormat) {
    const bool hasRows = rectangle.data[0] != nullptr && rectangle.data[1] != nullptr &&
                         rectangle.linesize[0] >= rectangle.w;
    if (!hasRows || std::int64_t{rectangle.w} * rectangle.h > kMaximumPixelCount) {
        throwCoreVideoError(kCVReturnInvalidSize);
    }
    CVPixelBufferPoolAttributes attributes;
    attributes.pixelFormat = pixelFormat;
    attributes.width = rectangle.w;
    attributes.height = rectangle.h;
    return CVPixelBufferPool(attributes).makePixelBuffer();
}

ImageSubtitle imageSubtitle(const AVSubtitleRect& rectangle,
                            const std::optional<VideoDimensions>& dimensions) {
    if (rectangle.type != SUBTITLE_BITMAP) {
        throw FFmpegError::simple(FFmpegError::Case::unknownSubtitleType);
    }
    return {makeSubtitleImage(rectangle),
            {static_cast<double>(rectangle.x), static_cast<double>(rectangle.y),
             static_cast<double>(rectangle.w), static_cast<double>(rectangle.h)},
            dimensions};
}

} // namespace

CVPixelBufferRef makeSubtitleImage(const AVSubtitleRect& rectangle) {
    FFmpegPixelFormatConverter converter(AV_PIX_FMT_PAL8, AVCOL_RANGE_UNSPECIFIED, rectangle.w,
                                         rectangle.h);
    auto pixelBuffer = makePixelBuffer(rectangle, converter.destinationPixelFormat());
    Palette palette = completedPalette(rectangle);
    const ffmpeg::Frame frame(checkedFFmpegAllocation(av_frame_alloc()));
    frame->format = AV_PIX_FMT_PAL8;
    frame->width = rectangle.w;
    frame->height = rectangle.h;
    frame->data[0] = rectangle.data[0];
    frame->data[1] = palette.data();
    frame->linesize[0] = rectangle.linesize[0];
    FrameColorConfigurator().configure(*pixelBuffer, *frame);
    converter.convert(*frame, *pixelBuffer);
    return pixelBuffer;
}

Subtitles FFmpegImageSubtitlesDecoder::makeSubtitles(Rectangles rectangles) {
    const auto dimensions = videoDimensions();
    std::vector<ImageSubtitle> subtitles;
    for (const AVSubtitleRect* rectangle : rectangles) {
        subtitles.push_back(imageSubtitle(*rectangle, dimensions));
    }
    return subtitles;
}

std::optional<VideoDimensions> FFmpegImageSubtitlesDecoder::videoDimensions() const {
    if (decoderContext_.width < 1 || decoderContext_.height < 1) {
        return std::nullopt;
    }
    return VideoDimensions(decoderContext_.width, decoderContext_.height, std::nullopt, 1.0);
}

} // namespace zelvane
