// SPDX-License-Identifier: GPL-3.0-or-later
#include "media_player/decoders/video/search_context.h"

#include "core_media/ffmpeg_error.h"
#include "foundation/log.h"
#include "media_player/decoders/common/ffmpeg_decoding.h"

namespace zelvane {
namespace {

/// No codec shows more frames before a key frame that follows them.
constexpr std::size_t kMostKept = 64;

bool isKey(const AVPacket& packet) {
    return (packet.flags & AV_PKT_FLAG_KEY) != 0 && packet.pts != AV_NOPTS_VALUE;
}

/// A context for a parser, which writes to the one that it is given.
ffmpeg::CodecContext makeParserContext(const AVCodecContext& decoder) {
    const ffmpeg::CodecParameters parameters(checkedFFmpegAllocation(avcodec_parameters_alloc()));
    ffmpeg::CodecContext context(checkedFFmpegAllocation(avcodec_alloc_context3(nullptr)));
    checkedFFmpegCall([&] { return avcodec_parameters_from_context(parameters.get(), &decoder); });
    checkedFFmpegCall(
        [&] { return avcodec_parameters_to_context(context.get(), parameters.get()); });
    return context;
}

/// Whether the picture is an intra random access point (H.265, 3.69).
bool isRandomAccessPoint(const AVCodecContext& decoder, const AVPacket& packet) {
    const ffmpeg::Parser parser(checkedFFmpegAllocation(av_parser_init(decoder.codec_id)));
    parser->flags |= PARSER_FLAG_COMPLETE_FRAMES;
    std::uint8_t* data = nullptr;
    int size = 0;
    av_parser_parse2(parser.get(), makeParserContext(decoder).get(), &data, &size, packet.data,
                     packet.size, packet.pts, packet.dts, packet.pos);
    return parser->key_frame == 1;
}

ffmpeg::AVPacketHandle clone(const AVPacket& packet) {
    return ffmpeg::AVPacketHandle(checkedFFmpegAllocation(av_packet_clone(&packet)));
}

} // namespace

bool SearchContext::startDecoding(const Packet& packet) {
    if (state_ == State::draining) {
        return false;
    }
    if (state_ == State::playing) {
        return replay() && zelvane::startDecoding(packet, playing_);
    }
    const AVPacket& avPacket = packet.avPacket();
    const bool isBeforeKey = avPacket.pts != AV_NOPTS_VALUE && keyStamp_ &&
                             avPacket.pts < *keyStamp_ && kept_.size() < kMostKept;
    if (state_ == State::overlapping && !isBeforeKey) {
        return beginDraining();
    }
    return feedSearch(packet);
}

bool SearchContext::feedSearch(const Packet& packet) {
    if (!zelvane::startDecoding(packet, *search_)) {
        return false;
    }
    isEmptied_ = false;
    const AVPacket& avPacket = packet.avPacket();
    if (state_ == State::awaitingKey && isKey(avPacket) && startsCleanly(avPacket)) {
        state_ = State::overlapping;
        keyStamp_ = avPacket.pts;
    }
    if (state_ == State::overlapping) {
        kept_.push_back(clone(avPacket));
    }
    return true;
}

/// The packet is refused, so that what the search context still holds is dequeued first: the end of
/// the stream makes libavcodec forget a packet that it has not begun to decode.
bool SearchContext::beginDraining() {
    if (isEmptied_) {
        zelvane::startDecoding(Packet(), *search_);
        state_ = State::draining;
    }
    return false;
}

/// Gives the kept packets to the playing context. False while it is full.
bool SearchContext::replay() {
    while (!kept_.empty()) {
        // The search context has reported a packet that cannot be decoded.
        if (avcodec_send_packet(&playing_, kept_.front().get()) == AVERROR(EAGAIN)) {
            return false;
        }
        kept_.pop_front();
    }
    return true;
}

bool SearchContext::dequeue(AVFrame& frame) {
    while (search_) {
        if (zelvane::dequeue(*search_, frame)) {
            if (!isForOther(frame)) {
                return true;
            }
            av_frame_unref(&frame);
            continue;
        }
        isEmptied_ = true;
        if (state_ != State::draining) {
            return false;
        }
        search_.reset();
        state_ = State::playing;
    }
    while (zelvane::dequeue(playing_, frame)) {
        if (!isForOther(frame)) {
            keyStamp_.reset();
            return true;
        }
        av_frame_unref(&frame);
    }
    return false;
}

/// The search context gives what is shown before the key packet, and the playing one the rest.
bool SearchContext::isForOther(const AVFrame& frame) const {
    return keyStamp_ && (frame.best_effort_timestamp < *keyStamp_) == (search_ == nullptr);
}

/// A stream may flag packets from which decoding becomes clean only later.
bool SearchContext::startsCleanly(const AVPacket& key) {
    // The decoder would allocate pictures in place of missing references, beside those of the
    // search context.
    if (playing_.codec_id == AV_CODEC_ID_HEVC) {
        return isRandomAccessPoint(playing_, key);
    }
    avcodec_flush_buffers(&playing_);
    const bool isClean = avcodec_send_packet(&playing_, &key) >= 0 &&
                         (hasFrameAt(key.pts) ||
                          (avcodec_send_packet(&playing_, nullptr) >= 0 && hasFrameAt(key.pts)));
    avcodec_flush_buffers(&playing_);
    return isClean;
}

bool SearchContext::hasFrameAt(std::int64_t stamp) {
    const ffmpeg::Frame frame(checkedFFmpegAllocation(av_frame_alloc()));
    return avcodec_receive_frame(&playing_, frame.get()) >= 0 &&
           frame->best_effort_timestamp == stamp;
}

void SearchContext::flush() {
    avcodec_flush_buffers(&playing_);
    search_.reset();
    state_ = State::playing;
    kept_.clear();
    keyStamp_.reset();
}

void SearchContext::beginSearch() {
    try {
        search_ = makeSearchContext_();
        state_ = search_ ? State::searching : State::playing;
        isEmptied_ = false;
    } catch (const Error& error) {
        logMessage("Failed to make a decoder for a search: {}", errorDescriptionText(error));
    }
}

void SearchContext::endSearch() {
    if (state_ == State::searching) {
        state_ = State::awaitingKey;
    }
}

} // namespace zelvane
