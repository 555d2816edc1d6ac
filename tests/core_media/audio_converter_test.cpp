// SPDX-License-Identifier: GPL-3.0-or-later
#include <vector>

#include <gtest/gtest.h>

#include "core_media/audio_converter.h"

namespace zelvane {
namespace {

AudioStreamBasicDescription planar(std::uint32_t channels, std::uint32_t bytes) {
    return {48000,
            kAudioFormatLinearPCM,
            kAudioFormatFlagIsAlignedHigh | kAudioFormatFlagIsNonInterleaved,
            bytes,
            1,
            bytes,
            channels,
            bytes * 8,
            0};
}

AudioStreamBasicDescription packed(std::uint32_t channels, std::uint32_t bytes) {
    return {48000,
            kAudioFormatLinearPCM,
            kAudioFormatFlagIsAlignedHigh,
            bytes * channels,
            1,
            bytes * channels,
            channels,
            bytes * 8,
            0};
}

TEST(AudioConverter, putsEachByteInItsPlaceForEveryShape) {
    for (const std::size_t bytes : {1, 2, 4, 8}) {
        for (const std::size_t channels : {1, 2, 3, 6, 8}) {
            for (const std::size_t frames : {0, 1, 7, 1023}) {
                std::unique_ptr<const AudioConverter> converter;
                ASSERT_EQ(AudioConverter::create(planar(channels, bytes), packed(channels, bytes),
                                                 converter),
                          kNoErr);
                // One byte in front puts every sample at an odd address.
                std::vector<std::vector<std::uint8_t>> sources(
                    channels, std::vector<std::uint8_t>(frames * bytes + 1));
                std::vector<const std::uint8_t*> pointers;
                std::uint8_t next = 1;
                for (auto& source : sources) {
                    for (auto& byte : source) {
                        byte = next = static_cast<std::uint8_t>(next * 13 + 7);
                    }
                    pointers.push_back(source.data() + 1);
                }
                std::vector<std::uint8_t> output(frames * channels * bytes + 1, 0xaa);
                ASSERT_EQ(
                    converter->convertComplexBuffer(frames, pointers, frames * bytes,
                                                    std::span(output).first(output.size() - 1)),
                    kNoErr);
                for (std::size_t i = 0; i + 1 < output.size(); ++i) {
                    const std::size_t frame = i / (channels * bytes);
                    const std::size_t channel = i / bytes % channels;
                    ASSERT_EQ(output[i], pointers[channel][frame * bytes + i % bytes])
                        << bytes << " bytes, " << channels << " channels, byte " << i;
                }
                EXPECT_EQ(output.back(), 0xaa);
            }
        }
    }
}

TEST(AudioConverter, refusesOtherConversions) {
    auto otherRate = packed(2, 4);
    otherRate.mSampleRate = 44100;
    struct Case {
        AudioStreamBasicDescription source;
        AudioStreamBasicDescription destination;
    };
    const std::vector<Case> cases{
        {packed(2, 4), packed(2, 4)}, {planar(2, 4), planar(2, 4)}, {planar(2, 4), packed(3, 4)},
        {planar(2, 4), packed(2, 2)}, {planar(2, 4), otherRate},    {planar(2, 3), packed(2, 3)},
        {planar(0, 4), packed(0, 4)},
    };
    for (std::size_t i = 0; i < cases.size(); ++i) {
        std::unique_ptr<const AudioConverter> converter;
        EXPECT_EQ(AudioConverter::create(cases[i].source, cases[i].destination, converter),
                  kAudioConverterErr_FormatNotSupported)
            << i;
        EXPECT_EQ(converter, nullptr);
    }
}

TEST(AudioConverter, refusesBuffersThatAreTooShort) {
    std::unique_ptr<const AudioConverter> converter;
    ASSERT_EQ(AudioConverter::create(planar(2, 4), packed(2, 4), converter), kNoErr);
    const std::vector<std::uint8_t> channel(16);
    const std::vector<const std::uint8_t*> channels(2, channel.data());
    std::vector<std::uint8_t> output(32);
    EXPECT_EQ(converter->convertComplexBuffer(4, channels, 16, output), kNoErr);
    EXPECT_EQ(converter->convertComplexBuffer(5, channels, 16, output),
              kAudioConverterErr_InvalidInputSize);
    EXPECT_EQ(converter->convertComplexBuffer(4, std::span(channels).first(1), 16, output),
              kAudioConverterErr_InvalidInputSize);
    EXPECT_EQ(converter->convertComplexBuffer(4, channels, 16, std::span(output).first(31)),
              kAudioConverterErr_InvalidOutputSize);
}

} // namespace
} // namespace zelvane
