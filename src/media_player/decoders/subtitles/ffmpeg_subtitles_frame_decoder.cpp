// SPDX-License-Identifier: GPL-3.0-or-later
#include "media_player/decoders/subtitles/ffmpeg_subtitles_frame_decoder.h"

#include <algorithm>
#include <utility>

#include "core_media/ffmpeg_error.h"
#include "foundation/character_encoding.h"
#include "foundation/log.h"
#include "media_player/decoders/common/ffmpeg_decoding.h"
#include "media_player/decoders/subtitles/ass_stock_form.h"

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
    FFmpegSubtitlesDecoder::Rectangles rectangles() const {
        return {record_.rects, record_.num_rects};
    }

  private:
    AVSubtitle record_{};
};

bool isScript(const AVCodecContext& context) {
    return context.codec_id == AV_CODEC_ID_ASS || context.codec_id == AV_CODEC_ID_SSA;
}

bool hasProperty(const AVCodecContext& context, int property) {
    return context.codec_descriptor != nullptr && (context.codec_descriptor->props & property) != 0;
}

std::string_view subtitleHeader(const AVCodecContext& context) {
    if (context.subtitle_header == nullptr || context.subtitle_header_size < 1) {
        return {};
    }
    return {reinterpret_cast<const char*>(context.subtitle_header),
            static_cast<std::size_t>(context.subtitle_header_size)};
}

/// The demuxer of scripts counts in hundredths, as scripts do, and passes on the columns of the
/// file; containers have theirs.
ASSEventColumns eventColumns(const AVCodecContext& context) {
    constexpr AVRational kScriptTimeBase{1, 100};
    return av_cmp_q(context.pkt_timebase, kScriptTimeBase) == 0 ? ASSEventColumns::ofHeader
                                                                : ASSEventColumns::usual;
}

std::unique_ptr<FFmpegSubtitlesDecoder>
makeFormattedTextDecoder(const AVCodecContext& context, std::string_view header,
                         const std::shared_ptr<SubtitleTextStyling>& styling) {
    const auto origin =
        isScript(context) ? ASSHeaderOrigin::script : ASSHeaderOrigin::madeByLibrary;
    return std::make_unique<FFmpegFormattedTextSubtitlesDecoder>(
        std::make_unique<ASSDecoder>(scriptHeader(header, eventColumns(context)), origin, styling));
}

/// What a codec says of itself counts, not which one it is. Events of a script without a header are
/// events all the same.
std::unique_ptr<FFmpegSubtitlesDecoder>
makeSubtitlesDecoder(const AVCodecContext& context,
                     const std::shared_ptr<SubtitleTextStyling>& styling) {
    if (hasProperty(context, AV_CODEC_PROP_TEXT_SUB)) {
        const std::string_view header = subtitleHeader(context);
        if (header.empty() && !isScript(context)) {
            return std::make_unique<FFmpegTextSubtitlesDecoder>();
        }
        return makeFormattedTextDecoder(context, header.empty() ? kDefaultASSHeader : header,
                                        styling);
    }
    if (hasProperty(context, AV_CODEC_PROP_BITMAP_SUB)) {
        return std::make_unique<FFmpegImageSubtitlesDecoder>(context);
    }
    throw FFmpegError::simple(FFmpegError::Case::unknownSubtitleType);
}

/// The whole packet is converted, which ruins pixels, and the offsets that follow the text in
/// timed text.
bool holdsLinesOfText(const AVCodecContext& context) {
    return hasProperty(context, AV_CODEC_PROP_TEXT_SUB) && context.codec_id != AV_CODEC_ID_MOV_TEXT;
}

void setEncoding(AVCodecContext& context, const std::optional<std::string>& encoding) {
    av_freep(&context.sub_charenc);
    if (encoding) {
        const std::string name = effectiveCharacterEncoding(*encoding);
        context.sub_charenc = checkedFFmpegAllocation(av_strdup(name.c_str()));
    }
    context.sub_charenc_mode =
        encoding ? FF_SUB_CHARENC_MODE_PRE_DECODER : FF_SUB_CHARENC_MODE_DO_NOTHING;
}

/// The two display times are milliseconds from the time of the packet. Those who show a frame take
/// it for granted that it does not end before it starts; one that clears has no use for its end.
SubtitlesFrame timedFrame(const AVSubtitle& record, Subtitles subtitles) {
    const CMTime base(record.pts, AV_TIME_BASE);
    const CMTime start = base + CMTime(record.start_display_time, 1000);
    const CMTime end = base + CMTime(record.end_display_time, 1000);
    if (std::holds_alternative<ClearPreviousSubtitles>(subtitles)) {
        return {start, std::max(start, end), std::move(subtitles)};
    }
    if (end < start) {
        throw SubtitlesTimeError();
    }
    return {start, end, std::move(subtitles)};
}

} // namespace

FFmpegSubtitlesFrameDecoder::FFmpegSubtitlesFrameDecoder(
    const AVStream& stream, std::shared_ptr<SubtitleTextStyling> styling)
    : styling_(std::move(styling)) {
    const AVCodec* codec = findDecoder(*stream.codecpar, AVMEDIA_TYPE_SUBTITLE);
    decoderContext_ = makeDecoderContext(*stream.codecpar, codec, stream.time_base);
    openDecoder(codec, *decoderContext_);
    subtitlesDecoder_ = makeSubtitlesDecoder(*decoderContext_, styling_);
}

void FFmpegSubtitlesFrameDecoder::flush() {
    avcodec_flush_buffers(decoderContext_.get());
}

std::vector<SubtitlesFrameRef> FFmpegSubtitlesFrameDecoder::decode(const Packet& packet) {
    auto frame = dequeueFrame(packet);
    return frame == nullptr ? std::vector<SubtitlesFrameRef>{} : std::vector{std::move(frame)};
}

SubtitlesFrameRef FFmpegSubtitlesFrameDecoder::dequeueFrame(const Packet& packet) {
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
    auto subtitles = record.rectangles().empty()
                         ? Subtitles(ClearPreviousSubtitles{})
                         : subtitlesDecoder_->makeSubtitles(record.rectangles());
    // Minus one stands for unknown; what lies below would be wrapped around to some weeks.
    if (packet.avPacket().duration < -1) {
        throw SubtitlesTimeError();
    }
    return std::make_shared<const SubtitlesFrame>(timedFrame(*record.get(), std::move(subtitles)));
}

void FFmpegSubtitlesFrameDecoder::setCharacterEncoding(
    const std::optional<std::string>& characterEncoding) {
    // libavcodec stops the process over a name that iconv does not know.
    const bool isUsable = characterEncoding && holdsLinesOfText(*decoderContext_) &&
                          isKnownCharacterEncoding(*characterEncoding);
    characterEncoding_ = isUsable ? characterEncoding : std::nullopt;
    setEncoding(*decoderContext_, characterEncoding_);
    if (isScript(*decoderContext_)) {
        readHeaderAnew();
    }
}

/// libavcodec converts packets, but not the header, whose names of styles the packets have.
void FFmpegSubtitlesFrameDecoder::readHeaderAnew() {
    const std::string_view header = subtitleHeader(*decoderContext_);
    if (header.empty()) {
        return;
    }
    const std::string text =
        characterEncoding_ ? decodedText(header, *characterEncoding_).text : std::string(header);
    try {
        subtitlesDecoder_ = makeFormattedTextDecoder(*decoderContext_, text, styling_);
    } catch (const ASSDecodingError& error) {
        // Names that were different are the same now: the decoder that is there does better.
        logMessage("Failed to read the header of a script anew: {}.", errorDescriptionText(error));
    }
}

} // namespace zelvane
