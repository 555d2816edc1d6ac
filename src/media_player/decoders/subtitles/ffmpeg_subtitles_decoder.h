// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>
#include <span>
#include <string_view>

#include "core_media/ffmpeg.h"
#include "media_player/decoders/subtitles/ass_decoder.h"
#include "media_player/decoders/subtitles/subtitles_frame.h"

namespace zelvane {

/// Converts the rectangles of one decoded subtitle to what is shown, completely or not at all. The
/// result owns its data. Used by one thread at a time.
class FFmpegSubtitlesDecoder {
  public:
    using Rectangles = std::span<const AVSubtitleRect* const>;

    virtual ~FFmpegSubtitlesDecoder() = default;
    /// Throws ASSDecodingError, FFmpegError or SystemError.
    virtual Subtitles makeSubtitles(Rectangles rectangles) = 0;
};

/// Converts rectangles of plain text, and joins them by line feeds.
class FFmpegTextSubtitlesDecoder final : public FFmpegSubtitlesDecoder {
  public:
    Subtitles makeSubtitles(Rectangles rectangles) override;
};

/// Converts rectangles of events, which libavcodec makes of every text format.
class FFmpegFormattedTextSubtitlesDecoder final : public FFmpegSubtitlesDecoder {
  public:
    explicit FFmpegFormattedTextSubtitlesDecoder(std::unique_ptr<ASSDecoder> assDecoder)
        : assDecoder_(std::move(assDecoder)) {}

    Subtitles makeSubtitles(Rectangles rectangles) override;

  private:
    void append(std::string_view event, std::vector<FormattedTextSubtitle>& subtitles);

    std::unique_ptr<ASSDecoder> assDecoder_;
};

/// Converts rectangles of pixels with a palette.
class FFmpegImageSubtitlesDecoder final : public FFmpegSubtitlesDecoder {
  public:
    /// `decoderContext` must outlive this. Some decoders know the picture size only after a packet.
    explicit FFmpegImageSubtitlesDecoder(const AVCodecContext& decoderContext)
        : decoderContext_(decoderContext) {}

    Subtitles makeSubtitles(Rectangles rectangles) override;

    std::optional<VideoDimensions> videoDimensions() const;

  private:
    const AVCodecContext& decoderContext_;
};

/// Makes a 32-bit BGRA picture from a rectangle of palette indices; an index without a colour is
/// transparent. Throws FFmpegError for sizes below 1, SystemError for a picture that is too large
/// or has fewer bytes in a row than pixels.
CVPixelBufferRef makeSubtitleImage(const AVSubtitleRect& rectangle);

} // namespace zelvane
