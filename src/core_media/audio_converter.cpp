// SPDX-License-Identifier: GPL-3.0-or-later
#include "core_media/audio_converter.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace zelvane {
namespace {

template <class Sample>
Sample load(const std::uint8_t* source, std::size_t index) {
    Sample sample;
    std::memcpy(&sample, source + index * sizeof(Sample), sizeof(Sample));
    return sample;
}

/// Two channels, in tiles of a fixed size that compilers turn into vector code. Frames are
/// `stride` bytes apart in the output; a pair that is all of its frame is written in whole tiles.
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

void interleaveChannels(std::size_t frameCount, std::size_t bytesPerSample,
                        std::span<const std::uint8_t* const> channels, std::uint8_t* output) {
    switch (bytesPerSample) {
    case 1:
        return convert<std::uint8_t>(frameCount, channels, output);
    case 2:
        return convert<std::uint16_t>(frameCount, channels, output);
    case 4:
        return convert<std::uint32_t>(frameCount, channels, output);
    default:
        return convert<std::uint64_t>(frameCount, channels, output);
    }
}

void reorderChannels(std::size_t frameCount, std::size_t bytesPerSample,
                     std::span<const std::uint8_t> channelMap, const std::uint8_t* input,
                     std::uint8_t* output) {
    const std::size_t bytesPerFrame = channelMap.size() * bytesPerSample;
    for (std::size_t frame = 0; frame < frameCount; ++frame, input += bytesPerFrame) {
        for (const std::size_t source : channelMap) {
            output = std::copy_n(input + source * bytesPerSample, bytesPerSample, output);
        }
    }
}

} // namespace zelvane
