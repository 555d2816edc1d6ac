// SPDX-License-Identifier: GPL-3.0-or-later
#include "core_media/audio_converter.h"

#include <cstring>

namespace zelvane {
namespace {

AudioStreamBasicDescription interleaved(AudioStreamBasicDescription description) {
    description.mFormatFlags &= ~kAudioFormatFlagIsNonInterleaved;
    description.mBytesPerFrame *= description.mChannelsPerFrame;
    description.mBytesPerPacket *= description.mChannelsPerFrame;
    return description;
}

/// Channel after channel: a call converts about a codec's frame, which stays in the nearest cache.
template <class Sample>
void interleave(std::size_t frameCount, std::span<const std::uint8_t* const> channels,
                std::uint8_t* output) {
    const std::size_t stride = channels.size() * sizeof(Sample);
    for (const std::uint8_t* source : channels) {
        std::uint8_t* target = output;
        for (std::size_t frame = 0; frame < frameCount; ++frame) {
            std::memcpy(target, source, sizeof(Sample));
            source += sizeof(Sample);
            target += stride;
        }
        output += sizeof(Sample);
    }
}

/// The most common shape by far is worth a loop that compilers vectorise.
template <class Sample>
void interleavePair(std::size_t frameCount, const std::uint8_t* left, const std::uint8_t* right,
                    std::uint8_t* output) {
    for (std::size_t frame = 0; frame < frameCount; ++frame) {
        std::memcpy(output + 2 * frame * sizeof(Sample), left + frame * sizeof(Sample),
                    sizeof(Sample));
        std::memcpy(output + (2 * frame + 1) * sizeof(Sample), right + frame * sizeof(Sample),
                    sizeof(Sample));
    }
}

template <class Sample>
void convert(std::size_t frameCount, std::span<const std::uint8_t* const> channels,
             std::uint8_t* output) {
    if (channels.size() == 1) {
        std::memcpy(output, channels[0], frameCount * sizeof(Sample));
    } else if (channels.size() == 2) {
        interleavePair<Sample>(frameCount, channels[0], channels[1], output);
    } else {
        interleave<Sample>(frameCount, channels, output);
    }
}

} // namespace

OSStatus AudioConverter::create(const AudioStreamBasicDescription& source,
                                const AudioStreamBasicDescription& destination,
                                std::unique_ptr<const AudioConverter>& converter) {
    const std::size_t size = source.mBytesPerFrame;
    const bool hasKnownSize = size == 1 || size == 2 || size == 4 || size == 8;
    if ((source.mFormatFlags & kAudioFormatFlagIsNonInterleaved) == 0 ||
        interleaved(source) != destination || source.mChannelsPerFrame == 0 || !hasKnownSize) {
        return kAudioConverterErr_FormatNotSupported;
    }
    converter =
        std::unique_ptr<const AudioConverter>(new AudioConverter(source.mChannelsPerFrame, size));
    return kNoErr;
}

OSStatus AudioConverter::convertComplexBuffer(std::size_t frameCount,
                                              std::span<const std::uint8_t* const> channels,
                                              std::size_t channelByteCount,
                                              std::span<std::uint8_t> output) const {
    if (channels.size() != channelCount_ || channelByteCount / bytesPerSample_ < frameCount) {
        return kAudioConverterErr_InvalidInputSize;
    }
    if (output.size() / bytesPerSample_ / channelCount_ < frameCount) {
        return kAudioConverterErr_InvalidOutputSize;
    }
    switch (bytesPerSample_) {
    case 1:
        convert<std::uint8_t>(frameCount, channels, output.data());
        break;
    case 2:
        convert<std::uint16_t>(frameCount, channels, output.data());
        break;
    case 4:
        convert<std::uint32_t>(frameCount, channels, output.data());
        break;
    default:
        convert<std::uint64_t>(frameCount, channels, output.data());
        break;
    }
    return kNoErr;
}

} // namespace zelvane
