// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "core_media/ffmpeg_handles.h"
#include "media_player/decoders/subtitles/subtitles_frame_decoder.h"

namespace zelvane {

/// Decodes a subtitles stream through libavcodec: text of any format as plain lines. Used by one
/// queue at a time.
class FFmpegSubtitlesFrameDecoder final : public SubtitlesFrameDecoder {
  public:
    /// Throws unsupportedMediaType or decoderNotFound, or what opening the decoder throws.
    explicit FFmpegSubtitlesFrameDecoder(const AVStream& stream);

    void flush() override;
    std::vector<SubtitlesFrameRef> decode(const Packet& packet) override;

    const std::optional<std::string>& characterEncoding() const override {
        return characterEncoding_;
    }
    void setCharacterEncoding(const std::optional<std::string>& characterEncoding) override;

    const AVCodecContext& decoderContext() const { return *decoderContext_; }

  private:
    SubtitlesFrameRef decodeFrame(const Packet& packet);

    std::optional<std::string> characterEncoding_;
    ffmpeg::CodecContext decoderContext_;
};

} // namespace zelvane
