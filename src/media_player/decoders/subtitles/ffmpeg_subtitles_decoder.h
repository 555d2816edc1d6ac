// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>
#include <span>
#include <string_view>

#include "core_media/ffmpeg.h"
#include "media_player/decoders/subtitles/ass_decoder.h"
#include "media_player/decoders/subtitles/subtitles_frame.h"

namespace zelvane {

/// Makes of the rectangles of one decoded subtitle what is to be shown, all of it or nothing. What
/// comes out owns its data. One thread at a time.
class FFmpegSubtitlesDecoder {
  public:
    using Rectangles = std::span<const AVSubtitleRect* const>;

    virtual ~FFmpegSubtitlesDecoder() = default;
    /// Throws ASSDecodingError, FFmpegError or SystemError.
    virtual Subtitles makeSubtitles(Rectangles rectangles) = 0;
};

/// Rectangles of plain text, joined by line feeds.
class FFmpegTextSubtitlesDecoder final : public FFmpegSubtitlesDecoder {
  public:
    Subtitles makeSubtitles(Rectangles rectangles) override;
};

/// Rectangles of events, which is what libavcodec makes of every format of text.
class FFmpegFormattedTextSubtitlesDecoder final : public FFmpegSubtitlesDecoder {
  public:
    explicit FFmpegFormattedTextSubtitlesDecoder(std::unique_ptr<ASSDecoder> assDecoder)
        : assDecoder_(std::move(assDecoder)) {}

    Subtitles makeSubtitles(Rectangles rectangles) override;

  private:
    void append(std::string_view event, std::vector<FormattedTextSubtitle>& subtitles);

    std::unique_ptr<ASSDecoder> assDecoder_;
};

/// Rectangles of pixels with a palette.
class FFmpegImageSubtitlesDecoder final : public FFmpegSubtitlesDecoder {
  public:
    /// `decoderContext` outlives this. Some decoders know the size of their picture only when they
    /// have seen a packet.
    explicit FFmpegImageSubtitlesDecoder(const AVCodecContext& decoderContext)
        : decoderContext_(decoderContext) {}

    Subtitles makeSubtitles(Rectangles rectangles) override;

    std::optional<VideoDimensions> videoDimensions() const;

  private:
    const AVCodecContext& decoderContext_;
};

/// A picture of 32-bit BGRA from a rectangle of indices into a palette; an index beyond its
/// colours is transparent. Throws FFmpegError for sizes below 1, SystemError for a picture that is
/// too large or has fewer bytes in a row than pixels.
CVPixelBufferRef makeSubtitleImage(const AVSubtitleRect& rectangle);

} // namespace zelvane
