// SPDX-License-Identifier: GPL-3.0-or-later
#include "media_player/decoders/audio/audio_sample_buffer_builder.h"

#include <utility>

#include "core_media/ffmpeg_error.h"
#include "core_media/ffmpeg_handles.h"

namespace zelvane {

AudioSampleBufferBuilder::AudioSampleBufferBuilder(const AudioProperties& audioProperties,
                                                   CMFormatDescriptionRef audioFormatDescription,
                                                   const CMTime& presentationTimestamp)
    : audioProperties_(audioProperties), audioFormatDescription_(std::move(audioFormatDescription)),
      presentationTimestamp_(presentationTimestamp),
      blockBuffer_(std::make_shared<CMBlockBuffer>()) {}

void AudioSampleBufferBuilder::append(const AVFrame& frame) {
    const std::size_t byteCount =
        static_cast<std::size_t>(streamDescription().mBytesPerFrame) * frame.nb_samples;
    if (audioProperties_.needsConversionToInterleaved) {
        appendNonInterleavedData(frame, byteCount);
    } else {
        appendInterleavedData(frame, byteCount);
    }
    frameCount_ += frame.nb_samples;
}

void AudioSampleBufferBuilder::appendInterleavedData(const AVFrame& frame,
                                                     std::size_t bufferByteCount) {
    std::shared_ptr<AVBufferRef> reference(checkedFFmpegAllocation(av_buffer_ref(frame.buf[0])),
                                           [](AVBufferRef* buffer) { av_buffer_unref(&buffer); });
    checkedDarwinCall([&] {
        return blockBuffer_->appendMemoryBlock({frame.data[0], bufferByteCount}, [reference] {});
    });
}

void AudioSampleBufferBuilder::appendNonInterleavedData(const AVFrame& frame,
                                                        std::size_t interleavedBufferByteCount) {
    const std::size_t frameCount = static_cast<std::size_t>(frame.nb_samples);
    const std::size_t channelByteCount = frameCount * audioProperties_.bytesPerSample;
    std::shared_ptr<std::uint8_t[]> memory(new std::uint8_t[interleavedBufferByteCount]);
    const std::span<std::uint8_t> output(memory.get(), interleavedBufferByteCount);
    const std::span<const std::uint8_t* const> channels(frame.extended_data,
                                                        streamDescription().mChannelsPerFrame);
    checkedDarwinCall([&] {
        return planarToInterleavedConverter().convertComplexBuffer(frameCount, channels,
                                                                   channelByteCount, output);
    });
    checkedDarwinCall([&] { return blockBuffer_->appendMemoryBlock(output, [memory] {}); });
}

const AudioConverter& AudioSampleBufferBuilder::planarToInterleavedConverter() {
    if (planarToInterleavedConverter_ == nullptr) {
        AudioStreamBasicDescription planar = streamDescription();
        planar.mFormatFlags |= kAudioFormatFlagIsNonInterleaved;
        planar.mBytesPerFrame = static_cast<std::uint32_t>(audioProperties_.bytesPerSample);
        planar.mBytesPerPacket = planar.mBytesPerFrame;
        checkedDarwinCall([&] {
            return AudioConverter::create(planar, streamDescription(),
                                          planarToInterleavedConverter_);
        });
    }
    return *planarToInterleavedConverter_;
}

CMSampleBufferRef AudioSampleBufferBuilder::makeSampleBuffer() {
    const CMSampleTimingInfo timing{CMTime(1, audioProperties_.bufferLevelProperties.sampleRate),
                                    presentationTimestamp_, kCMTimeInvalid};
    CMSampleBufferRef sampleBuffer;
    checkedDarwinCall([&] {
        return CMSampleBuffer::create(std::move(blockBuffer_), audioFormatDescription_, frameCount_,
                                      timing, streamDescription().mBytesPerFrame, sampleBuffer);
    });
    return sampleBuffer;
}

} // namespace zelvane
