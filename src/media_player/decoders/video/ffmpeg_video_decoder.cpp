// SPDX-License-Identifier: GPL-3.0-or-later
#include "media_player/decoders/video/ffmpeg_video_decoder.h"

#include <algorithm>
#include <span>
#include <thread>
#include <utility>

#include "core_media/ffmpeg_time.h"
#include "core_media/video_sample_buffer.h"
#include "foundation/log.h"
#include "media_player/decoders/common/ffmpeg_decoding.h"

namespace zelvane {
namespace {

constexpr int kMaxFailedHardwareDecodeCount = 11;

/// FF_THREAD_FRAME, and bits that libavcodec does not know.
constexpr int kThreadType = 25;

SystemVideoDecodingHardware& systemHardware() {
    static SystemVideoDecodingHardware hardware;
    return hardware;
}

std::span<const AVPixelFormat> offeredFormats(const AVPixelFormat* formats) {
    std::size_t count = 0;
    while (formats[count] != AV_PIX_FMT_NONE) {
        ++count;
    }
    return {formats, count};
}

AVPixelFormat getFormatInSoftware(AVCodecContext* /*context*/, const AVPixelFormat* formats) {
    return chooseDecoderFormat(offeredFormats(formats), AV_PIX_FMT_NONE);
}

AVPixelFormat getFormatOnHardware(AVCodecContext* context, const AVPixelFormat* formats) {
    const auto* device = reinterpret_cast<const AVHWDeviceContext*>(context->hw_device_ctx->data);
    return chooseDecoderFormat(offeredFormats(formats), devicePixelFormat(device->type));
}

int threadCount() {
    static const int count =
        videoDecoderThreadCount(static_cast<int>(std::thread::hardware_concurrency()));
    return count;
}

const AVCodec* findVideoDecoder(const AVStream& stream) {
    if ((stream.disposition & AV_DISPOSITION_ATTACHED_PIC) != 0) {
        throw FFmpegError::simple(FFmpegError::Case::unsupportedMediaType);
    }
    return findDecoder(*stream.codecpar, AVMEDIA_TYPE_VIDEO);
}

/// On `device`, or in software without one.
ffmpeg::CodecContext makeOpenContext(const AVStream& stream, PictureAllocator& pictures,
                                     ffmpeg::BufferRef device) {
    const AVCodec* codec = findVideoDecoder(stream);
    auto context = makeDecoderContext(*stream.codecpar, codec, stream.time_base);
    context->get_format = device ? getFormatOnHardware : getFormatInSoftware;
    context->hw_device_ctx = device.release();
    context->thread_count = threadCount();
    context->thread_type = kThreadType;
    pictures.serve(*context);
    openDecoder(codec, *context);
    return context;
}

/// Null where the hardware cannot do it: software always can.
ffmpeg::CodecContext makeHardwareContext(const AVStream& stream, PictureAllocator& pictures,
                                         VideoDecodingHardware& hardware) {
    try {
        return makeOpenContext(stream, pictures, hardware.makeHardwareDeviceContext());
    } catch (const Error& error) {
        logMessage("Failed to initialize VideoToolbox FFmpeg context: {}",
                   errorDescriptionText(error));
        return nullptr;
    }
}

} // namespace

int videoDecoderThreadCount(int processorCount) {
    return std::max(processorCount - 2, 1);
}

FFmpegVideoDecoder::FFmpegVideoDecoder(const AVStream& stream)
    : FFmpegVideoDecoder(stream, systemHardware()) {}

FFmpegVideoDecoder::FFmpegVideoDecoder(const AVStream& stream, VideoDecodingHardware& hardware)
    : streamTimeBase_(stream.time_base),
      softwareDecoderContext_(makeOpenContext(stream, *pictures_, nullptr)),
      hardwareDecoderContext_(makeHardwareContext(stream, *pictures_, hardware)),
      decoderContext_(hardwareDecoderContext_ ? hardwareDecoderContext_.get()
                                              : softwareDecoderContext_.get()),
      decodedFrame_(checkedFFmpegAllocation(av_frame_alloc())),
      packager_(*softwareDecoderContext_, stream) {}

bool FFmpegVideoDecoder::startDecoding(const Packet& packet) {
    // Others are made from references, so those have to be decoded all the same.
    decoderContext_->skip_frame =
        isUnwanted(packet.avPacket().pts) ? AVDISCARD_NONREF : AVDISCARD_DEFAULT;
    try {
        return zelvane::startDecoding(packet, *decoderContext_);
    } catch (...) {
        countFailure();
        throw;
    }
}

CMSampleBufferRef FFmpegVideoDecoder::dequeueSampleBuffer() {
    try {
        return dequeueNextFrame();
    } catch (...) {
        countFailure();
        throw;
    }
}

CMSampleBufferRef FFmpegVideoDecoder::dequeueNextFrame() {
    do {
        if (!dequeue(*decoderContext_, *decodedFrame_)) {
            return nullptr;
        }
    } while (isUnwanted(decodedFrame_->pts));
    const ffmpeg::FrameContents contents(*decodedFrame_);
    auto sampleBuffer = makeSampleBuffer(*decodedFrame_);
    if (isUsingHardwareContext()) {
        failedHardwareDecodeCount_ = 0;
    }
    return sampleBuffer;
}

bool FFmpegVideoDecoder::isUnwanted(std::int64_t presentationStamp) const {
    const auto time = timeFromStamp(presentationStamp, streamTimeBase_);
    return earliestWantedTime_ && time && *time < *earliestWantedTime_;
}

CMSampleBufferRef FFmpegVideoDecoder::makeSampleBuffer(const AVFrame& frame) {
    auto sampleBuffer = zelvane::makeSampleBuffer(packager_.package(frame), frame, streamTimeBase_,
                                                  guessedNextPresentationTimestamp_);
    if (sampleBuffer->duration().isValid()) {
        guessedNextPresentationTimestamp_ =
            sampleBuffer->presentationTimeStamp() + sampleBuffer->duration();
    } else {
        guessedNextPresentationTimestamp_.reset();
    }
    return sampleBuffer;
}

void FFmpegVideoDecoder::countFailure() {
    guessedNextPresentationTimestamp_.reset();
    if (!isUsingHardwareContext()) {
        return;
    }
    ++failedHardwareDecodeCount_;
    if (failedHardwareDecodeCount_ >= kMaxFailedHardwareDecodeCount) {
        logMessage("Too many hardware decode errors; falling back to software decoder.");
        decoderContext_ = softwareDecoderContext_.get();
    }
}

void FFmpegVideoDecoder::flush() {
    avcodec_flush_buffers(decoderContext_);
    guessedNextPresentationTimestamp_.reset();
}

} // namespace zelvane
