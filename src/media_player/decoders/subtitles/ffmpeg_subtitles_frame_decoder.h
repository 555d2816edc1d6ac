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

/// A subtitle with invalid times.
class SubtitlesTimeError : public Error {
  public:
    SubtitlesTimeError() : Error("A subtitle ends before it starts.") {}
};

/// Decodes a subtitles stream through libavcodec: text of any format with its attributes, or
/// pictures. Used by one queue at a time.
class FFmpegSubtitlesFrameDecoder final : public SubtitlesFrameDecoder {
  public:
    /// Throws FFmpegError for a stream of another kind or codec, and ASSDecodingError for a script
    /// with an unusable header.
    explicit FFmpegSubtitlesFrameDecoder(
        const AVStream& stream,
        std::shared_ptr<SubtitleTextStyling> styling = sharedSubtitleTextStyling());

    void flush() override;
    std::vector<SubtitlesFrameRef> decode(const Packet& packet) override;
    /// The frame that a packet completes, or null. Throws FFmpegError, ASSDecodingError,
    /// SystemError or SubtitlesTimeError when any part of the frame is lost.
    SubtitlesFrameRef dequeueFrame(const Packet& packet);

    const std::optional<std::string>& characterEncoding() const override {
        return characterEncoding_;
    }
    /// Ignores a name that iconv does not know, and any name for a stream without lines of text.
    void setCharacterEncoding(const std::optional<std::string>& characterEncoding) override;

    const AVCodecContext& decoderContext() const { return *decoderContext_; }

  private:
    void rereadHeader();

    std::shared_ptr<SubtitleTextStyling> styling_;
    std::optional<std::string> characterEncoding_;
    ffmpeg::CodecContext decoderContext_;
    std::unique_ptr<FFmpegSubtitlesDecoder> subtitlesDecoder_;
};

} // namespace zelvane
