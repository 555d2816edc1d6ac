// SPDX-License-Identifier: GPL-3.0-or-later
#include "media_player/decoders/subtitles/ffmpeg_subtitles_frame_decoder.h"

#include <cstdint>
#include <limits>
#include <span>
#include <utility>

#include "core_media/ffmpeg_error.h"
#include "foundation/character_encoding.h"
#include "media_player/decoders/common/ffmpeg_decoding.h"
#include "media_player/decoders/subtitles/ass_dialogue_text.h"

namespace zelvane {
namespace {

/// An AVSubtitle that frees what a decoder puts into it.
class SubtitleRecord {
  public:
    SubtitleRecord() = default;
    ~SubtitleRecord() { avsubtitle_free(&record_); }
    SubtitleRecord(const SubtitleRecord&) = delete;
    SubtitleRecord& operator=(const SubtitleRecord&) = delete;

    AVSubtitle* get() { return &record_; }
    const AVSubtitle* operator->() const { return &record_; }
    std::span<AVSubtitleRect* const> rectangles() const {
        return {record_.rects, record_.num_rects};
    }

  private:
    AVSubtitle record_{};
};

std::string plainText(const SubtitleRecord& record) {
    std::string text;
    const auto append = [&](const std::string& lines) {
        if (!lines.empty()) {
            text += (text.empty() ? "" : "\n") + lines;
        }
    };
    for (const AVSubtitleRect* rectangle : record.rectangles()) {
        if (rectangle->ass != nullptr) {
            append(plainTextOfASSDialogue(rectangle->ass));
        } else if (rectangle->text != nullptr) {
            append(rectangle->text);
        }
    }
    return text;
}

CMTime endTime(const AVSubtitle& record, const CMTime& base) {
    const bool isUnknown = record.end_display_time <= record.start_display_time ||
                           record.end_display_time == std::numeric_limits<std::uint32_t>::max();
    return isUnknown ? kCMTimePositiveInfinity : base + CMTime(record.end_display_time, 1000);
}

} // namespace

FFmpegSubtitlesFrameDecoder::FFmpegSubtitlesFrameDecoder(const AVStream& stream) {
    const AVCodec* codec = findDecoder(*stream.codecpar, AVMEDIA_TYPE_SUBTITLE);
    decoderContext_ = makeDecoderContext(*stream.codecpar, codec, stream.time_base);
    openDecoder(codec, *decoderContext_);
}

void FFmpegSubtitlesFrameDecoder::flush() {
    avcodec_flush_buffers(decoderContext_.get());
}

void FFmpegSubtitlesFrameDecoder::setCharacterEncoding(
    const std::optional<std::string>& characterEncoding) {
    characterEncoding_ = characterEncoding;
    av_freep(&decoderContext_->sub_charenc);
    // The library stops the process over a name that iconv does not know.
    if (characterEncoding && isKnownCharacterEncoding(*characterEncoding)) {
        const std::string name = effectiveCharacterEncoding(*characterEncoding);
        decoderContext_->sub_charenc = checkedFFmpegAllocation(av_strdup(name.c_str()));
        decoderContext_->sub_charenc_mode = FF_SUB_CHARENC_MODE_PRE_DECODER;
    } else {
        decoderContext_->sub_charenc_mode = FF_SUB_CHARENC_MODE_DO_NOTHING;
    }
}

std::vector<SubtitlesFrameRef> FFmpegSubtitlesFrameDecoder::decode(const Packet& packet) {
    auto frame = decodeFrame(packet);
    return frame == nullptr ? std::vector<SubtitlesFrameRef>{} : std::vector{std::move(frame)};
}

SubtitlesFrameRef FFmpegSubtitlesFrameDecoder::decodeFrame(const Packet& packet) {
    SubtitleRecord record;
    const ffmpeg::AVPacketHandle copy(checkedFFmpegAllocation(av_packet_clone(&packet.avPacket())));
    int hasSubtitle = 0;
    checkedFFmpegCall(
        [&] {
            return avcodec_decode_subtitle2(decoderContext_.get(), record.get(), &hasSubtitle,
                                            copy.get());
        },
        {.retryOnEAGAIN = true});
    if (hasSubtitle == 0) {
        return nullptr;
    }
    std::string text = plainText(record);
    if (text.empty()) {
        return nullptr;
    }
    if (record->pts == AV_NOPTS_VALUE) {
        throw FFmpegError::simple(FFmpegError::Case::noPresentationTimestamp);
    }
    const CMTime base(record->pts, AV_TIME_BASE);
    return std::make_shared<const SubtitlesFrame>(
        SubtitlesFrame{base + CMTime(record->start_display_time, 1000),
                       endTime(*record.get(), base), TextSubtitle{std::move(text)}});
}

} // namespace zelvane
