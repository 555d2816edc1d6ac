// SPDX-License-Identifier: GPL-3.0-or-later
#include "media_player/decoders/audio/ffmpeg_audio_decoder.h"

#include <utility>

#include "core_media/ffmpeg_error.h"
#include "core_media/ffmpeg_time.h"
#include "media_player/decoders/common/ffmpeg_decoding.h"

namespace zelvane {

FFmpegAudioDecoder::FFmpegAudioDecoder(const AVStream& stream)
    : streamTimeBase_(stream.time_base), sampleGrid_(stream), timestamps_(stream.time_base) {
    const AVCodec* codec = findDecoder(*stream.codecpar, AVMEDIA_TYPE_AUDIO);
    decoderContext_ = makeDecoderContext(*stream.codecpar, codec, streamTimeBase_);
    openDecoder(codec, *decoderContext_);
    audioProperties_.emplace(*decoderContext_);
    // Some codecs have no channels before their first packet.
    if (audioProperties_->bufferLevelProperties.channelCount > 0) {
        audioProperties_->channels();
    }
    ffmpegSampleBuffer_.reset(checkedFFmpegAllocation(av_frame_alloc()));
}

bool FFmpegAudioDecoder::startDecoding(const Packet& packet) {
    if (heldFailure_ != nullptr) {
        // Report the failure first: the flush that follows would drop this packet too.
        return false;
    }
    try {
        if (!zelvane::startDecoding(packet, *decoderContext_)) {
            return false;
        }
    } catch (...) {
        timestamps_.setEnd(kCMTimeInvalid);
        throw;
    }
    isFresh_ = false;
    const AVPacket& avPacket = packet.avPacket();
    timestamps_.didSend(avPacket);
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
        auto gathered = closeBuilder();
        timestamps_.reset();
        if (gathered == nullptr) {
            throw;
        }
        // Deliver the gathered buffer first: reporting the failure makes the caller flush.
        heldFailure_ = std::current_exception();
        return gathered;
    }
}

void FFmpegAudioDecoder::flush() {
    // Flushed Musepack leaves out 32 frames, also at the start.
    if (!std::exchange(isFresh_, true)) {
        avcodec_flush_buffers(decoderContext_.get());
    }
    timestamps_.reset();
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

/// Adds a frame to the gathered buffer. Returns the buffer that this completes, or null.
CMSampleBufferRef FFmpegAudioDecoder::gather(const AVFrame& frame) {
    const bool formatChanged = adoptFormat(frame);
    const auto timestamp = presentationTimestamp(frame);
    const int sampleRate = audioProperties_->bufferLevelProperties.sampleRate;

    CMSampleBufferRef finished;
    if (formatChanged || beginsAfterGap(timestamp)) {
        finished = closeBuilder();
    }
    if (sampleBufferBuilder_ == nullptr) {
        sampleBufferBuilder_ = makeBuilder();
    }
    if (timestamp) {
        place(*timestamp);
        timestamps_.setEnd(*timestamp + CMTime(frame.nb_samples, sampleRate));
    }
    sampleBufferBuilder_->append(frame);
    if (finished != nullptr) {
        return finished;
    }
    const bool isFull = sampleBufferBuilder_->frameCount() >= sampleRate;
    return isFull || forceDequeueSampleBuffer_ ? closeBuilder() : nullptr;
}

/// Adopts the frame's format. Returns whether it differs from the one before.
bool FFmpegAudioDecoder::adoptFormat(const AVFrame& frame) {
    const auto properties = bufferLevelProperties(frame.sample_rate, frame.ch_layout);
    const auto format = static_cast<AVSampleFormat>(frame.format);
    if (properties == audioProperties_->bufferLevelProperties &&
        format == audioProperties_->sampleFormat) {
        return false;
    }
    audioProperties_.emplace(format, decoderContext_->bits_per_raw_sample, properties);
    sampleBufferFormat_ = {};
    return true;
}

/// Returns whether a frame of that time does not continue the gathered buffer.
bool FFmpegAudioDecoder::beginsAfterGap(const std::optional<CMTime>& timestamp) const {
    return sampleBufferBuilder_ != nullptr &&
           sampleBufferBuilder_->presentationTimestamp().isValid() &&
           (!timestamp || timestamps_.expectedTime() != timestamp);
}

/// Records that the next frame begins at `time`.
void FFmpegAudioDecoder::place(const CMTime& time) {
    if (!sampleBufferBuilder_->presentationTimestamp().isValid()) {
        sampleBufferBuilder_->setPresentationTimestamp(time - sampleBufferBuilder_->duration());
    }
}

/// None where only a later frame can determine it.
std::optional<CMTime> FFmpegAudioDecoder::presentationTimestamp(const AVFrame& frame) const {
    const auto stated = timestamps_.statedTime(frame);
    const auto& expected = timestamps_.expectedTime();
    // Stamps in units of a sample are exact. All others are too coarse to distinguish a gap from
    // rounding.
    const bool isExact = streamTimeBase_.num == 1 &&
                         streamTimeBase_.den == audioProperties_->bufferLevelProperties.sampleRate;
    if (expected && (!isExact || !stated)) {
        return expected;
    }
    if (!stated && !timestamps_.earliestPacketTime()) {
        throw FFmpegError::simple(FFmpegError::Case::noPresentationTimestamp);
    }
    if (!stated || isExact) {
        return stated;
    }
    const auto exact = sampleGrid_.timeOf(frame.best_effort_timestamp, frame.nb_samples);
    return exact ? exact : stated;
}

std::unique_ptr<AudioSampleBufferBuilder> FFmpegAudioDecoder::makeBuilder() {
    if (sampleBufferFormat_.description == nullptr) {
        sampleBufferFormat_ = audioProperties_->makeSampleBufferFormat();
    }
    return std::make_unique<AudioSampleBufferBuilder>(*audioProperties_, sampleBufferFormat_);
}

/// Returns the gathered buffer, or null when there is none.
CMSampleBufferRef FFmpegAudioDecoder::closeBuilder() {
    const auto builder = std::move(sampleBufferBuilder_);
    if (builder == nullptr || builder->frameCount() == 0) {
        return nullptr;
    }
    if (!builder->presentationTimestamp().isValid()) {
        // No frame has stated a time: they are taken to begin with their first packet.
        builder->setPresentationTimestamp(timestamps_.earliestPacketTime().value());
        timestamps_.setEnd(builder->presentationTimestamp() + builder->duration());
    }
    return builder->makeSampleBuffer();
}

} // namespace zelvane
