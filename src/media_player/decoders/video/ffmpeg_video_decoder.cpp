// SPDX-License-Identifier: GPL-3.0-or-later
#include "media_player/decoders/video/ffmpeg_video_decoder.h"

#include <algorithm>
#include <array>
#include <span>
#include <thread>
#include <utility>

#include "core_media/device_picture.h"
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

int processorCount() {
    static const int count = static_cast<int>(std::thread::hardware_concurrency());
    return count;
}

int threadCount() {
    return videoDecoderThreadCount(processorCount());
}

/// Whether leaving out the frames that no other refers to changes none of the others, in content or
/// time. Found by hashing every frame. VC-1, as a counterexample, gives a frame that follows the
/// stamp of the one that was left out. Other codecs have no such frames, or decode them regardless.
bool canLeaveOutFrames(AVCodecID codec) {
    constexpr std::array kCodecs{AV_CODEC_ID_H264, AV_CODEC_ID_HEVC, AV_CODEC_ID_MPEG1VIDEO,
                                 AV_CODEC_ID_MPEG2VIDEO, AV_CODEC_ID_MPEG4};
    return std::find(kCodecs.begin(), kCodecs.end(), codec) != kCodecs.end();
}

/// Whether the decoder itself withholds pictures whose references it does not have. These codecs
/// can also start at a recovery point, which is no key frame.
bool withholdsUnclean(AVCodecID codec) {
    return codec == AV_CODEC_ID_H264 || codec == AV_CODEC_ID_HEVC;
}

/// On `device`, or in software without one.
ffmpeg::CodecContext makeOpenContext(const AVCodecParameters& parameters, AVRational timeBase,
                                     PictureAllocator& pictures, ffmpeg::BufferRef device,
                                     int threads) {
    const AVCodec* codec = findDecoder(parameters, AVMEDIA_TYPE_VIDEO);
    auto context = makeDecoderContext(parameters, codec, timeBase);
    context->get_format = device ? getFormatOnHardware : getFormatInSoftware;
    context->extra_hw_frames = device ? kDeviceFramesHeldByPlayer : 0;
    context->hw_device_ctx = device.release();
    context->thread_count = threads;
    context->thread_type = kThreadType;
    pictures.serve(*context);
    openDecoder(codec, *context);
    return context;
}

/// Of a stream that is no attached picture.
ffmpeg::CodecContext makePlayingContext(const AVStream& stream, PictureAllocator& pictures,
                                        ffmpeg::BufferRef device) {
    if ((stream.disposition & AV_DISPOSITION_ATTACHED_PIC) != 0) {
        throw FFmpegError::simple(FFmpegError::Case::unsupportedMediaType);
    }
    return makeOpenContext(*stream.codecpar, stream.time_base, pictures, std::move(device),
                           threadCount());
}

/// Null if the hardware cannot decode the stream.
ffmpeg::CodecContext makeHardwareContext(const AVStream& stream, PictureAllocator& pictures,
                                         VideoDecodingHardware& hardware) {
    auto device = hardware.makeHardwareDeviceContext();
    if (device == nullptr) {
        return nullptr;
    }
    try {
        return makePlayingContext(stream, pictures, std::move(device));
    } catch (const Error& error) {
        logMessage("Failed to open the hardware decoder: {}", errorDescriptionText(error));
        return nullptr;
    }
}

/// Whether decoding with several threads is faster and gives the same, and a stamp says where the
/// playing context takes over.
bool isSearchedWithThreads(AVCodecID codec) {
    constexpr std::array kCodecs{AV_CODEC_ID_H264, AV_CODEC_ID_HEVC, AV_CODEC_ID_VP8,
                                 AV_CODEC_ID_VP9,  AV_CODEC_ID_AV1,  AV_CODEC_ID_MPEG4};
    return std::find(kCodecs.begin(), kCodecs.end(), codec) != kCodecs.end();
}

SearchContext::Maker searchContextMaker(const AVStream& stream, PictureAllocator& pictures) {
    const int threads =
        searchThreadCount(processorCount(), stream.codecpar->width, stream.codecpar->height);
    if (!isSearchedWithThreads(stream.codecpar->codec_id) || threads <= threadCount()) {
        return [] { return nullptr; };
    }
    // The stream may be gone when a search begins.
    const std::shared_ptr<AVCodecParameters> parameters =
        ffmpeg::CodecParameters(checkedFFmpegAllocation(avcodec_parameters_alloc()));
    checkedFFmpegCall([&] { return avcodec_parameters_copy(parameters.get(), stream.codecpar); });
    return [parameters, timeBase = stream.time_base, &pictures, threads] {
        return makeOpenContext(*parameters, timeBase, pictures, nullptr, threads);
    };
}

} // namespace

int videoDecoderThreadCount(int processorCount) {
    return std::max(processorCount - 2, 1);
}

int searchThreadCount(int processorCount, int width, int height) {
    // More contexts than 16 would take more memory than they save time.
    constexpr int kMost = 16;
    constexpr std::int64_t kLargePicture = std::int64_t{2560} * 1440;
    if (processorCount < 2) {
        return 1;
    }
    // One more than processors keeps them busy while a finished frame waits for its turn. With
    // large pictures it saves 2 % of the time, and takes tens of megabytes.
    const bool isLarge = std::int64_t{width} * height > kLargePicture;
    return std::min(isLarge ? processorCount : processorCount + 1, kMost);
}

FFmpegVideoDecoder::FFmpegVideoDecoder(const AVStream& stream)
    : FFmpegVideoDecoder(stream, systemHardware()) {}

FFmpegVideoDecoder::FFmpegVideoDecoder(const AVStream& stream, VideoDecodingHardware& hardware)
    : streamTimeBase_(stream.time_base),
      softwareDecoderContext_(makePlayingContext(stream, *pictures_, nullptr)),
      hardwareDecoderContext_(makeHardwareContext(stream, *pictures_, hardware)),
      decoderContext_(hardwareDecoderContext_ ? hardwareDecoderContext_.get()
                                              : softwareDecoderContext_.get()),
      searching_(*softwareDecoderContext_, searchContextMaker(stream, *pictures_)),
      decodedFrame_(checkedFFmpegAllocation(av_frame_alloc())),
      packager_(*softwareDecoderContext_, stream), timestamps_(stream.time_base) {}

bool FFmpegVideoDecoder::startDecoding(const Packet& packet) {
    // Other frames are predicted from references, so those are decoded in any case.
    AVCodecContext& context = isUsingHardwareContext() ? *decoderContext_ : searching_.active();
    context.skip_frame =
        canLeaveOutFrames(decoderContext_->codec_id) && isUnwanted(packet.avPacket().pts)
            ? AVDISCARD_NONREF
            : AVDISCARD_DEFAULT;
    try {
        return isUsingHardwareContext() ? zelvane::startDecoding(packet, context)
                                        : searching_.startDecoding(packet);
    } catch (...) {
        countFailure();
        throw;
    }
}

bool FFmpegVideoDecoder::isClean() const {
    return hasGivenKeyframe_ || withholdsUnclean(decoderContext_->codec_id);
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
    while (dequeueFrame()) {
        const ffmpeg::FrameContents contents(*decodedFrame_);
        hasGivenKeyframe_ |= decodedFrame_->key_frame != 0;
        if (isUnwanted(*decodedFrame_)) {
            noteEnd(timestamps_.timeOf(*decodedFrame_).value_or(kCMTimeInvalid));
            continue;
        }
        return makeSampleBuffer(*decodedFrame_);
    }
    return nullptr;
}

bool FFmpegVideoDecoder::dequeueFrame() {
    return isUsingHardwareContext() ? dequeue(*decoderContext_, *decodedFrame_)
                                    : searching_.dequeue(*decodedFrame_);
}

bool FFmpegVideoDecoder::isUnwanted(const AVFrame& frame) const {
    // Where the two differ, the stamps of packets are not the times of their pictures.
    return frame.pts == frame.best_effort_timestamp && isUnwanted(frame.pts);
}

bool FFmpegVideoDecoder::isUnwanted(std::int64_t presentationStamp) const {
    const auto time = timeFromStamp(presentationStamp, streamTimeBase_);
    return earliestWantedTime_ && time && *time < *earliestWantedTime_;
}

CMSampleBufferRef FFmpegVideoDecoder::makeSampleBuffer(const AVFrame& frame) {
    auto sampleBuffer = zelvane::makeSampleBuffer(packager_.package(frame), frame, streamTimeBase_,
                                                  timestamps_.expectedTime());
    noteEnd(sampleBuffer->presentationTimeStamp());
    if (isUsingHardwareContext()) {
        failedHardwareDecodeCount_ = 0;
    }
    return sampleBuffer;
}

/// The decoded frame begins at `time`.
void FFmpegVideoDecoder::noteEnd(const CMTime& time) {
    const auto duration = timeFromStamp(ffmpeg::frameDuration(*decodedFrame_), streamTimeBase_);
    timestamps_.setEnd(duration && *duration > kCMTimeZero ? time + *duration : kCMTimeInvalid);
}

void FFmpegVideoDecoder::countFailure() {
    timestamps_.reset();
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
    if (decoderContext_->codec_id == AV_CODEC_ID_SVQ3) {
        reopen();
    } else if (isUsingHardwareContext()) {
        avcodec_flush_buffers(decoderContext_);
    } else {
        searching_.flush();
    }
    timestamps_.reset();
    hasGivenKeyframe_ = false;
}

void FFmpegVideoDecoder::beginSearch() {
    if (!isUsingHardwareContext()) {
        searching_.beginSearch();
    }
}

/// For a decoder that keeps its last picture when it is flushed, and gives it for the next packet.
void FFmpegVideoDecoder::reopen() {
    const AVCodec* const codec = decoderContext_->codec;
    avcodec_close(decoderContext_);
    openDecoder(codec, *decoderContext_);
}

} // namespace zelvane
