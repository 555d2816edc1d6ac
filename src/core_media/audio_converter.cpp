// SPDX-License-Identifier: GPL-3.0-or-later
#include "core_media/audio_converter.h"

#include <array>
#include <cstring>

namespace zelvane {
namespace {

AudioStreamBasicDescription interleaved(AudioStreamBasicDescription description) {
    description.mFormatFlags &= ~kAudioFormatFlagIsNonInterleaved;
    description.mBytesPerFrame *= description.mChannelsPerFrame;
    description.mBytesPerPacket *= description.mChannelsPerFrame;
    return description;
}

template <class Sample>
Sample load(const std::uint8_t* source, std::size_t index) {
    Sample sample;
    std::memcpy(&sample, source + index * sizeof(Sample), sizeof(Sample));
    return sample;
}

/// Two channels, in tiles of a fixed size that compilers turn into vector code. Frames lie `stride`
/// bytes apart in the output; a pair that is all of its frame is written in whole tiles.
template <class Sample>
void interleavePair(std::size_t frameCount, const std::uint8_t* left, const std::uint8_t* right,
                    std::size_t stride, std::uint8_t* output) {
    constexpr std::size_t kTile = 16;
    constexpr std::size_t kPairSize = 2 * sizeof(Sample);
    std::array<Sample, kTile> lefts;
    std::array<Sample, kTile> rights;
    std::array<Sample, 2 * kTile> both;
    std::size_t frame = 0;
    for (; frame + kTile <= frameCount; frame += kTile) {
        std::memcpy(lefts.data(), left + frame * sizeof(Sample), sizeof(lefts));
        std::memcpy(rights.data(), right + frame * sizeof(Sample), sizeof(rights));
        for (std::size_t i = 0; i < kTile; ++i) {
            both[2 * i] = lefts[i];
            both[2 * i + 1] = rights[i];
        }
        std::uint8_t* target = output + frame * stride;
        if (stride == kPairSize) {
            std::memcpy(target, both.data(), sizeof(both));
            continue;
        }
        for (std::size_t i = 0; i < kTile; ++i) {
            std::memcpy(target + i * stride, &both[2 * i], kPairSize);
        }
    }
    for (; frame < frameCount; ++frame) {
        const std::array<Sample, 2> pair{load<Sample>(left, frame), load<Sample>(right, frame)};
        std::memcpy(output + frame * stride, pair.data(), kPairSize);
    }
}

template <class Sample>
void spread(std::size_t frameCount, const std::uint8_t* source, std::size_t stride,
            std::uint8_t* output) {
    for (std::size_t frame = 0; frame < frameCount; ++frame) {
        const Sample sample = load<Sample>(source, frame);
        std::memcpy(output + frame * stride, &sample, sizeof(Sample));
    }
}

template <class Sample>
void convert(std::size_t frameCount, std::span<const std::uint8_t* const> channels,
             std::uint8_t* output) {
    const std::size_t stride = channels.size() * sizeof(Sample);
    std::size_t channel = 0;
    for (; channel + 1 < channels.size(); channel += 2) {
        interleavePair<Sample>(frameCount, channels[channel], channels[channel + 1], stride,
                               output + channel * sizeof(Sample));
    }
    if (channel < channels.size()) {
        spread<Sample>(frameCount, channels[channel], stride, output + channel * sizeof(Sample));
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
