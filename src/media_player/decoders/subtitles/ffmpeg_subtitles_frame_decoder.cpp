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

/// An AVSubtitle that frees its content.
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

bool isTeletext(const AVCodecContext& context) {
    return context.codec_id == AV_CODEC_ID_DVB_TELETEXT;
}

/// By default the decoder draws every page of the service as a picture.
void chooseSubtitlePagesAsText(AVCodecContext& context) {
    for (const auto& [name, value] : {std::pair("txt_page", "subtitle"), {"txt_format", "text"}}) {
        checkedFFmpegCall([&] { return av_opt_set(context.priv_data, name, value, 0); });
    }
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

/// The demuxer of scripts uses hundredths of a second and passes on the columns of the file;
/// containers have the usual columns.
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

/// The codec's descriptor decides, not its id. A script without a header has events too.
std::unique_ptr<FFmpegSubtitlesDecoder>
makeSubtitlesDecoder(const AVCodecContext& context,
                     const std::shared_ptr<SubtitleTextStyling>& styling) {
    // The descriptor of teletext has neither property, as its decoder can give both.
    if (hasProperty(context, AV_CODEC_PROP_TEXT_SUB) || isTeletext(context)) {
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

/// libavcodec converts the whole packet, which damages pixels, and the offsets after the text in
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

/// The display times are milliseconds from the packet's time. Callers rely on an end that is not
/// before the start; the end of a frame that clears is not used.
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
    if (isTeletext(*decoderContext_)) {
        chooseSubtitlePagesAsText(*decoderContext_);
    }
    openDecoder(codec, *decoderContext_);
    subtitlesDecoder_ = makeSubtitlesDecoder(*decoderContext_, styling_);
}

void FFmpegSubtitlesFrameDecoder::flush() {
    avcodec_flush_buffers(decoderContext_.get());
}

std::vector<SubtitlesFrameRef> FFmpegSubtitlesFrameDecoder::decode(const Packet& packet) {
    auto frame = dequeueFrame(packet);
    if (frame == nullptr) {
        return {};
    }
    const bool isClear = std::holds_alternative<ClearPreviousSubtitles>(frame->subtitles);
    if (isTeletext(*decoderContext_) && !isClear) {
        // A page stays on display until the next one, which need not be preceded by an empty one.
        const CMTime justBefore = frame->startTime - CMTime(1, 1000);
        auto clear = std::make_shared<const SubtitlesFrame>(
            SubtitlesFrame{justBefore, justBefore, ClearPreviousSubtitles{}});
        return {std::move(clear), std::move(frame)};
    }
    return {std::move(frame)};
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
    // -1 means unknown; a smaller value would wrap around to weeks.
    if (packet.avPacket().duration < -1) {
        throw SubtitlesTimeError();
    }
    return std::make_shared<const SubtitlesFrame>(timedFrame(*record.get(), std::move(subtitles)));
}

void FFmpegSubtitlesFrameDecoder::setCharacterEncoding(
    const std::optional<std::string>& characterEncoding) {
    // libavcodec aborts the process for a name that iconv does not know.
    const bool isUsable = characterEncoding && holdsLinesOfText(*decoderContext_) &&
                          isKnownCharacterEncoding(*characterEncoding);
    characterEncoding_ = isUsable ? characterEncoding : std::nullopt;
    setEncoding(*decoderContext_, characterEncoding_);
    if (isScript(*decoderContext_)) {
        rereadHeader();
    }
}

/// libavcodec converts packets, but not the header, which contains the names of styles that packets
/// refer to.
void FFmpegSubtitlesFrameDecoder::rereadHeader() {
    const std::string_view header = subtitleHeader(*decoderContext_);
    if (header.empty()) {
        return;
    }
    const std::string text =
        characterEncoding_ ? decodedText(header, *characterEncoding_).text : std::string(header);
    try {
        subtitlesDecoder_ = makeFormattedTextDecoder(*decoderContext_, text, styling_);
    } catch (const ASSDecodingError& error) {
        // Two names have become equal by the conversion: keep the present decoder.
        logMessage("Failed to read the header of a script again: {}.", errorDescriptionText(error));
    }
}

} // namespace zelvane
