// SPDX-License-Identifier: GPL-3.0-or-later
#include "media_player/decoders/audio/ffmpeg_audio_decoder.h"

#include <utility>

#include "core_media/ffmpeg_error.h"
#include "core_media/ffmpeg_time.h"
#include "media_player/decoders/common/ffmpeg_decoding.h"

namespace zelvane {

FFmpegAudioDecoder::FFmpegAudioDecoder(const AVStream& stream)
    : streamTimeBase_(stream.time_base), sampleGrid_(stream) {
    const AVCodec* codec = findDecoder(*stream.codecpar, AVMEDIA_TYPE_AUDIO);
    decoderContext_ = makeDecoderContext(*stream.codecpar, codec, streamTimeBase_);
    openDecoder(codec, *decoderContext_);
    audioProperties_.emplace(*decoderContext_);
    ffmpegSampleBuffer_.reset(checkedFFmpegAllocation(av_frame_alloc()));
}

bool FFmpegAudioDecoder::startDecoding(const Packet& packet) {
    if (heldFailure_ != nullptr) {
        // It has to be heard first: the flush that follows would cost this packet too.
        return false;
    }
    try {
        if (!zelvane::startDecoding(packet, *decoderContext_)) {
            return false;
        }
    } catch (...) {
        guessedNextPresentationTimestamp_.reset();
        throw;
    }
    const AVPacket& avPacket = packet.avPacket();
    if (avPacket.data == nullptr && avPacket.size == 0) {
        forceDequeueSampleBuffer_ = true;
    }
    return true;
}

CMSampleBufferRef FFmpegAudioDecoder::dequeueSampleBuffer() {
    if (const auto failure = std::exchange(heldFailure_, nullptr)) {
        std::rethrow_exception(failure);
    }
    try {
        return dequeueGatheredFrames();
    } catch (...) {
        guessedNextPresentationTimestamp_.reset();
        auto gathered = closeBuilder();
        if (gathered == nullptr) {
            throw;
        }
        // Who hears of a failure flushes, and would lose up to a second of sound that is good.
        heldFailure_ = std::current_exception();
        return gathered;
    }
}

void FFmpegAudioDecoder::flush() {
    avcodec_flush_buffers(decoderContext_.get());
    guessedNextPresentationTimestamp_.reset();
    sampleBufferBuilder_.reset();
    heldFailure_ = nullptr;
    forceDequeueSampleBuffer_ = false;
}

CMSampleBufferRef FFmpegAudioDecoder::dequeueGatheredFrames() {
    while (dequeue(*decoderContext_, *ffmpegSampleBuffer_)) {
        const ffmpeg::FrameContents contents(*ffmpegSampleBuffer_);
        if (ffmpegSampleBuffer_->nb_samples < 1) {
            continue;
        }
        if (auto sampleBuffer = gather(*ffmpegSampleBuffer_)) {
            return sampleBuffer;
        }
    }
    return forceDequeueSampleBuffer_ ? closeBuilder() : nullptr;
}

/// Adds a frame to the buffer in the making, and returns the buffer that is finished by that.
CMSampleBufferRef FFmpegAudioDecoder::gather(const AVFrame& frame) {
    const auto expectedTimestamp = guessedNextPresentationTimestamp_;
    const bool formatChanged = adoptFormat(frame);
    const CMTime timestamp = presentationTimestamp(frame);
    const int sampleRate = audioProperties_->bufferLevelProperties.sampleRate;
    guessedNextPresentationTimestamp_ = timestamp + CMTime(frame.nb_samples, sampleRate);

    CMSampleBufferRef finished;
    if (formatChanged || expectedTimestamp != timestamp) {
        finished = closeBuilder();
    }
    if (sampleBufferBuilder_ == nullptr) {
        sampleBufferBuilder_ = makeBuilder(timestamp);
    }
    sampleBufferBuilder_->append(frame);
    if (finished != nullptr) {
        return finished;
    }
    const bool isFull = sampleBufferBuilder_->frameCount() >= sampleRate;
    return isFull || forceDequeueSampleBuffer_ ? closeBuilder() : nullptr;
}

/// Takes over the frame's format. Whether it is another than before.
bool FFmpegAudioDecoder::adoptFormat(const AVFrame& frame) {
    const auto properties = bufferLevelProperties(frame.sample_rate, frame.ch_layout);
    const auto format = static_cast<AVSampleFormat>(frame.format);
    if (properties == audioProperties_->bufferLevelProperties &&
        format == audioProperties_->sampleFormat) {
        return false;
    }
    audioProperties_.emplace(format, decoderContext_->bits_per_raw_sample, properties);
    audioFormatDescription_.reset();
    return true;
}

CMTime FFmpegAudioDecoder::presentationTimestamp(const AVFrame& frame) const {
    const auto own = timeFromStamp(frame.best_effort_timestamp, streamTimeBase_);
    const auto& guess = guessedNextPresentationTimestamp_;
    // Stamps in units of a sample are exact. All others are too coarse to tell a gap from rounding.
    const bool isExact = streamTimeBase_.num == 1 &&
                         streamTimeBase_.den == audioProperties_->bufferLevelProperties.sampleRate;
    if (const auto& preferred = isExact ? own : guess) {
        return *preferred;
    }
    if (isExact && guess) {
        return *guess;
    }
    if (own) {
        return sampleGrid_.timeOf(frame.best_effort_timestamp, frame.nb_samples).value_or(*own);
    }
    throw FFmpegError::simple(FFmpegError::Case::noPresentationTimestamp);
}

std::unique_ptr<AudioSampleBufferBuilder>
FFmpegAudioDecoder::makeBuilder(const CMTime& presentationTimestamp) {
    if (audioFormatDescription_ == nullptr) {
        audioFormatDescription_ = audioProperties_->makeAudioFormatDescription();
    }
    return std::make_unique<AudioSampleBufferBuilder>(*audioProperties_, audioFormatDescription_,
                                                      presentationTimestamp);
}

/// The buffer in the making, or null when there is none.
CMSampleBufferRef FFmpegAudioDecoder::closeBuilder() {
    const auto builder = std::move(sampleBufferBuilder_);
    return builder != nullptr && builder->frameCount() > 0 ? builder->makeSampleBuffer() : nullptr;
}

} // namespace zelvane
