// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "core_media/ffmpeg_handles.h"
#include "media_player/decoders/subtitles/ffmpeg_subtitles_decoder.h"
#include "media_player/decoders/subtitles/subtitle_text_styling.h"
#include "media_player/decoders/subtitles/subtitles_frame_decoder.h"

namespace zelvane {

/// A subtitle whose times make no sense.
class SubtitlesTimeError : public Error {
  public:
    SubtitlesTimeError() : Error("A subtitle ends before it starts.") {}
};

/// Decodes a subtitles stream through libavcodec: text of any format with its looks, or pictures.
/// Used by one queue at a time.
class FFmpegSubtitlesFrameDecoder final : public SubtitlesFrameDecoder {
  public:
    /// Throws FFmpegError for a stream that is no subtitles or of a kind that cannot be decoded,
    /// and ASSDecodingError for a script whose header cannot be used.
    explicit FFmpegSubtitlesFrameDecoder(
        const AVStream& stream,
        std::shared_ptr<SubtitleTextStyling> styling = sharedSubtitleTextStyling());

    void flush() override;
    std::vector<SubtitlesFrameRef> decode(const Packet& packet) override;
    /// The frame of a packet, or null when it completes none. The frame is whole: throws
    /// FFmpegError, ASSDecodingError, SystemError or SubtitlesTimeError when any part of it is
    /// lost.
    SubtitlesFrameRef dequeueFrame(const Packet& packet);

    const std::optional<std::string>& characterEncoding() const override {
        return characterEncoding_;
    }
    /// None for a name that iconv does not know, and for a stream that does not hold lines of text.
    void setCharacterEncoding(const std::optional<std::string>& characterEncoding) override;

    const AVCodecContext& decoderContext() const { return *decoderContext_; }

  private:
    void readHeaderAnew();

    std::shared_ptr<SubtitleTextStyling> styling_;
    std::optional<std::string> characterEncoding_;
    ffmpeg::CodecContext decoderContext_;
    std::unique_ptr<FFmpegSubtitlesDecoder> subtitlesDecoder_;
};

} // namespace zelvane
