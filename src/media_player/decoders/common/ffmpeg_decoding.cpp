// SPDX-License-Identifier: GPL-3.0-or-later
#include "media_player/decoders/common/ffmpeg_decoding.h"

#include "core_media/ffmpeg_error.h"

namespace zelvane {

ffmpeg::CodecContext makeDecoderContext(const AVCodecParameters& parameters, const AVCodec* codec,
                                        AVRational streamTimeBase) {
    ffmpeg::CodecContext context(checkedFFmpegAllocation(avcodec_alloc_context3(codec)));
    checkedFFmpegCall([&] { return avcodec_parameters_to_context(context.get(), &parameters); },
                      {.retryOnEAGAIN = true});
    context->pkt_timebase = streamTimeBase;
    return context;
}

void openDecoder(const AVCodec* codec, AVCodecContext& context) {
    AVDictionary* made = nullptr;
    checkedFFmpegCall([&] { return av_dict_set(&made, "refcounted_frames", "1", 0); },
                      {.retryOnEAGAIN = true});
    ffmpeg::Dictionary options(made);
    checkedFFmpegCall(
        [&] {
            // Opening takes the options that it knows out of the dictionary, which may replace it.
            AVDictionary* remaining = options.release();
            const int status = avcodec_open2(&context, codec, &remaining);
            options.reset(remaining);
            return status;
        },
        {.retryOnEAGAIN = true});
}

bool startDecoding(const Packet& packet, AVCodecContext& context) {
    const int status = avcodec_send_packet(&context, &packet.avPacket());
    if (status == AVERROR(EAGAIN)) {
        return false;
    }
    if (status == AVERROR_EOF) {
        return true;
    }
    checkedFFmpegCall([status] { return status; });
    return true;
}

bool dequeue(AVCodecContext& context, AVFrame& frame) {
    const int status = avcodec_receive_frame(&context, &frame);
    if (status == AVERROR(EAGAIN) || status == AVERROR_EOF) {
        return false;
    }
    checkedFFmpegCall([status] { return status; });
    return true;
}

const AVCodec* findDecoder(const AVCodecParameters& parameters, AVMediaType mediaType) {
    if (parameters.codec_type != mediaType) {
        throw FFmpegError::simple(FFmpegError::Case::unsupportedMediaType);
    }
    const AVCodec* codec = avcodec_find_decoder(parameters.codec_id);
    if (codec == nullptr) {
        throw FFmpegError::decoderNotFound(parameters.codec_id);
    }
    return codec;
}

} // namespace zelvane
