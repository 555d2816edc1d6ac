// SPDX-License-Identifier: GPL-3.0-or-later
#include "media_player/decoders/audio/audio_sample_buffer_builder.h"

#include <utility>

#include "core_media/audio_converter.h"
#include "core_media/ffmpeg_error.h"
#include "core_media/ffmpeg_handles.h"

namespace zelvane {

AudioSampleBufferBuilder::AudioSampleBufferBuilder(const AudioProperties& audioProperties,
                                                   SampleBufferFormat format)
    : audioProperties_(audioProperties), format_(std::move(format)),
      blockBuffer_(std::make_shared<CMBlockBuffer>()) {}

CMTime AudioSampleBufferBuilder::duration() const {
    return CMTime(frameCount_, audioProperties_.bufferLevelProperties.sampleRate);
}

void AudioSampleBufferBuilder::append(const AVFrame& frame) {
    const std::size_t byteCount = bytesPerFrame() * frame.nb_samples;
    if (audioProperties_.needsConversionToInterleaved) {
        appendNonInterleavedData(frame, byteCount);
    } else if (!format_.channelMap.empty()) {
        appendReorderedData(frame, byteCount);
    } else {
        appendInterleavedData(frame, byteCount);
    }
    frameCount_ += frame.nb_samples;
}

void AudioSampleBufferBuilder::appendInterleavedData(const AVFrame& frame,
                                                     std::size_t bufferByteCount) {
    std::shared_ptr<AVBufferRef> reference(checkedFFmpegAllocation(av_buffer_ref(frame.buf[0])),
                                           [](AVBufferRef* buffer) { av_buffer_unref(&buffer); });
    blockBuffer_->appendMemoryBlock({frame.data[0], bufferByteCount}, [reference] {});
}

/// Appends a block that `write` fills.
template <class Write>
void AudioSampleBufferBuilder::appendMade(std::size_t byteCount, Write&& write) {
    const auto memory = std::make_shared_for_overwrite<std::uint8_t[]>(byteCount);
    write(memory.get());
    blockBuffer_->appendMemoryBlock({memory.get(), byteCount}, [memory] {});
}

void AudioSampleBufferBuilder::appendReorderedData(const AVFrame& frame,
                                                   std::size_t bufferByteCount) {
    appendMade(bufferByteCount, [&](std::uint8_t* output) {
        reorderChannels(static_cast<std::size_t>(frame.nb_samples),
                        static_cast<std::size_t>(audioProperties_.bytesPerSample),
                        format_.channelMap, frame.data[0], output);
    });
}

void AudioSampleBufferBuilder::appendNonInterleavedData(const AVFrame& frame,
                                                        std::size_t interleavedBufferByteCount) {
    const auto& map = format_.channelMap;
    std::vector<const std::uint8_t*> channels(
        frame.extended_data,
        frame.extended_data + audioProperties_.bufferLevelProperties.channelCount);
    for (std::size_t i = 0; i < map.size(); ++i) {
        channels[i] = frame.extended_data[map[i]];
    }
    appendMade(interleavedBufferByteCount, [&](std::uint8_t* output) {
        interleaveChannels(static_cast<std::size_t>(frame.nb_samples),
                           static_cast<std::size_t>(audioProperties_.bytesPerSample), channels,
                           output);
    });
}

CMSampleBufferRef AudioSampleBufferBuilder::makeSampleBuffer() {
    const CMSampleTimingInfo timing{CMTime(1, audioProperties_.bufferLevelProperties.sampleRate),
                                    presentationTimestamp_, kCMTimeInvalid};
    return CMSampleBuffer::ofAudio(std::move(blockBuffer_), format_.description, frameCount_,
                                   timing, bytesPerFrame());
}

} // namespace zelvane
