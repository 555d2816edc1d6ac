// SPDX-License-Identifier: GPL-3.0-or-later
#include "media_player/media_source/picture_headers.h"

#include <algorithm>
#include <memory>
#include <span>

#include "media_player/media_source/probing.h"

namespace zelvane {
namespace {

/// In files that are meant to be watched, pictures begin long before.
constexpr int kMaxPackets = 256;

std::span<AVStream* const> streamsOf(const AVFormatContext& context) {
    return {context.streams, context.nb_streams};
}

bool isWorthReading(const AVStream& stream, const AVFormatContext& context) {
    const AVCodecParameters& parameters = *stream.codecpar;
    const bool isShort = parameters.codec_id == AV_CODEC_ID_VP9 ||
                         (parameters.codec_id == AV_CODEC_ID_H264 && isMovieFile(context));
    return isShort && parameters.codec_type == AVMEDIA_TYPE_VIDEO && parameters.width > 0 &&
           (stream.disposition & AV_DISPOSITION_ATTACHED_PIC) == 0;
}

/// A decoder that reads headers and gets no memory for a picture.
class HeaderDecoder {
  public:
    explicit HeaderDecoder(const AVStream& stream) {
        const AVCodec* const codec = avcodec_find_decoder(stream.codecpar->codec_id);
        decoder_.reset(codec == nullptr ? nullptr : avcodec_alloc_context3(codec));
        if (decoder_ == nullptr ||
            avcodec_parameters_to_context(decoder_.get(), stream.codecpar) < 0) {
            return;
        }
        decoder_->pkt_timebase = stream.time_base;
        decoder_->thread_count = 1;
        decoder_->opaque = &format_;
        decoder_->get_buffer2 = noteFormat;
        // The allocation failure is intended: do not log it.
        decoder_->log_level_offset = AV_LOG_TRACE;
        isOpen_ = avcodec_open2(decoder_.get(), codec, nullptr) >= 0;
    }
    HeaderDecoder(const HeaderDecoder&) = delete;
    HeaderDecoder& operator=(const HeaderDecoder&) = delete;

    bool isOpen() const { return isOpen_; }

    /// Null if the packet has no picture header.
    ffmpeg::CodecParameters read(const AVPacket& packet) {
        // This call fails in either case.
        avcodec_send_packet(decoder_.get(), &packet);
        ffmpeg::CodecParameters parameters(avcodec_parameters_alloc());
        if (format_ == AV_PIX_FMT_NONE || parameters == nullptr ||
            avcodec_parameters_from_context(parameters.get(), decoder_.get()) < 0) {
            return nullptr;
        }
        parameters->format = format_;
        return parameters;
    }

  private:
    static int noteFormat(AVCodecContext* context, AVFrame* frame, int /*flags*/) {
        *static_cast<int*>(context->opaque) = frame->format;
        return AVERROR(ENOMEM);
    }

    ffmpeg::CodecContext decoder_;
    int format_ = AV_PIX_FMT_NONE;
    bool isOpen_ = false;
};

} // namespace

bool PictureHeaders::areWorthReading(const AVFormatContext& context) {
    const auto streams = streamsOf(context);
    return std::any_of(streams.begin(), streams.end(),
                       [&](const AVStream* stream) { return isWorthReading(*stream, context); });
}

PictureHeaders::PictureHeaders(AVFormatContext& context) : parameters_(context.nb_streams) {
    readUpToPictures(context);
}

void PictureHeaders::readUpToPictures(AVFormatContext& context) {
    std::vector<std::unique_ptr<HeaderDecoder>> decoders(context.nb_streams);
    int wanted = 0;
    for (AVStream* stream : streamsOf(context)) {
        auto decoder =
            isWorthReading(*stream, context) ? std::make_unique<HeaderDecoder>(*stream) : nullptr;
        const bool isWanted = decoder != nullptr && decoder->isOpen();
        wanted += isWanted ? 1 : 0;
        stream->discard = isWanted ? AVDISCARD_DEFAULT : AVDISCARD_ALL;
        decoders[static_cast<std::size_t>(stream->index)] = isWanted ? std::move(decoder) : nullptr;
    }
    const ffmpeg::AVPacketHandle packet(av_packet_alloc());
    for (int count = 0; packet != nullptr && wanted > 0 && count < kMaxPackets; ++count) {
        if (av_read_frame(&context, packet.get()) < 0) {
            return;
        }
        // Demuxers may add streams while they read.
        const auto index = static_cast<std::size_t>(packet->stream_index);
        if (index < decoders.size() && decoders[index] != nullptr) {
            parameters_[index] = decoders[index]->read(*packet);
            if (parameters_[index] != nullptr) {
                decoders[index] = nullptr;
                --wanted;
            }
        }
        av_packet_unref(packet.get());
    }
}

/// Null if unknown, or if the file has changed.
const AVCodecParameters* PictureHeaders::parametersOf(const AVStream& stream) const {
    const auto index = static_cast<std::size_t>(stream.index);
    const AVCodecParameters* const told =
        index < parameters_.size() ? parameters_[index].get() : nullptr;
    return told != nullptr && told->codec_id == stream.codecpar->codec_id ? told : nullptr;
}

void PictureHeaders::applyTo(AVFormatContext& context) const {
    const auto streams = streamsOf(context);
    const auto isUntoldH264 = [this](const AVStream* stream) {
        return stream->codecpar->codec_id == AV_CODEC_ID_H264 && parametersOf(*stream) == nullptr;
    };
    const bool tellsAllH264 = std::none_of(streams.begin(), streams.end(), isUntoldH264);
    for (AVStream* stream : streams) {
        const AVCodecParameters* const told = parametersOf(*stream);
        if (told == nullptr || (told->codec_id == AV_CODEC_ID_H264 && !tellsAllH264)) {
            continue;
        }
        const bool isTold = avcodec_parameters_copy(stream->codecpar, told) >= 0;
        if (isTold && told->codec_id == AV_CODEC_ID_H264 && context.codec_whitelist == nullptr) {
            // Probing decodes a picture of such streams, even if the parameters are known, when it
            // has a decoder.
            leaveDecodersOut(context,
                             [](const AVCodec& codec) { return codec.id == AV_CODEC_ID_H264; });
        }
    }
}

} // namespace zelvane
