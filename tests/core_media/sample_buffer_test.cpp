// SPDX-License-Identifier: GPL-3.0-or-later
#include <array>
#include <cmath>
#include <functional>
#include <memory>
#include <numeric>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "core_media/cm_block_buffer.h"
#include "core_media/cm_sample_buffer.h"

namespace zelvane {
namespace {

std::span<const std::uint8_t> bytes(const std::string& text) {
    return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}

TEST(BlockBuffer, readsAChainAsOneSequence) {
    const std::vector<std::string> blocks{"ab", "cdefg", "h", "ijk"};
    const std::string all = "abcdefghijk";
    CMBlockBuffer buffer;
    for (const auto& block : blocks) {
        buffer.appendMemoryBlock(bytes(block), {});
    }
    EXPECT_EQ(buffer.dataLength(), all.size());
    EXPECT_EQ(buffer.blockCount(), blocks.size());
    for (std::size_t offset = 0; offset <= all.size(); ++offset) {
        for (std::size_t count = 0; count <= all.size() - offset; ++count) {
            std::vector<std::uint8_t> target(count);
            ASSERT_TRUE(buffer.copyDataBytes(offset, target));
            ASSERT_EQ(std::string(target.begin(), target.end()), all.substr(offset, count));
        }
    }
    std::array<std::uint8_t, 3> target{1, 2, 3};
    EXPECT_FALSE(buffer.copyDataBytes(all.size() - 2, target));
    EXPECT_FALSE(buffer.copyDataBytes(all.size() + 1, std::span(target).first(0)));
    EXPECT_EQ(target, (std::array<std::uint8_t, 3>{1, 2, 3}));
}

TEST(BlockBuffer, releasesEachBlockOnceAndAnEmptyOneAtOnce) {
    std::string released;
    const std::string data = "data";
    {
        CMBlockBuffer buffer;
        buffer.appendMemoryBlock(bytes(data), [&] { released += 'a'; });
        buffer.appendMemoryBlock({}, [&] { released += 'e'; });
        buffer.appendMemoryBlock(bytes(data), [&] { released += 'b'; });
        EXPECT_EQ(released, "e");
        EXPECT_EQ(buffer.blockCount(), 2U);
    }
    EXPECT_EQ(released, "eab");
}

CMFormatDescription::Audio stereo() {
    CMFormatDescription::Audio audio;
    audio.streamDescription = {48000, kAudioFormatLinearPCM, 0x14, 4, 1, 4, 2, 16, 0};
    audio.channelLayoutTag = kAudioChannelLayoutTag_Stereo;
    return audio;
}

/// The code of the SystemError that the call throws.
int codeOf(const std::function<void()>& call) {
    try {
        call();
        return 0;
    } catch (const SystemError& error) {
        return error.code();
    }
}

TEST(FormatDescription, refusesInvalidFormats) {
    EXPECT_EQ(CMFormatDescription::ofAudio(stereo())->audio()->streamDescription,
              stereo().streamDescription);
    const std::vector<std::function<void(CMFormatDescription::Audio&)>> faults{
        [](auto& audio) { audio.streamDescription.mSampleRate = 0; },
        [](auto& audio) { audio.streamDescription.mSampleRate = -1; },
        [](auto& audio) { audio.streamDescription.mSampleRate = std::nan(""); },
        [](auto& audio) { audio.streamDescription.mBytesPerFrame = 0; },
        [](auto& audio) { audio.streamDescription.mChannelsPerFrame = 0; },
        [](auto& audio) { audio.channelLayoutTag = kAudioChannelLayoutTag_Mono; },
    };
    for (std::size_t i = 0; i < faults.size(); ++i) {
        auto audio = stereo();
        faults[i](audio);
        EXPECT_EQ(codeOf([&] { CMFormatDescription::ofAudio(audio); }),
                  kCMFormatDescriptionError_InvalidParameter)
            << i;
    }
}

TEST(SampleBuffer, lastsAsLongAsItsSamples) {
    const std::vector<std::uint8_t> memory(std::size_t{4} * 1024);
    const auto data = std::make_shared<CMBlockBuffer>();
    data->appendMemoryBlock(memory, {});
    const auto description = CMFormatDescription::ofAudio(stereo());
    const CMSampleTimingInfo timing{CMTime(1, 48000), CMTime(3, 2), kCMTimeInvalid};
    const auto buffer = CMSampleBuffer::ofAudio(data, description, 1024, timing, 4);
    EXPECT_EQ(buffer->duration(), CMTime(1024, 48000));
    EXPECT_EQ(buffer->presentationTimeStamp(), CMTime(3, 2));
    EXPECT_EQ(buffer->sampleCount(), 1024);

    struct Refusal {
        std::shared_ptr<const CMBlockBuffer> data;
        CMFormatDescriptionRef description;
        std::int64_t sampleCount;
        int code;
    };
    for (const auto& row :
         {Refusal{data, description, 1023, kCMSampleBufferError_DataFailed},
          Refusal{data, description, 0, kCMSampleBufferError_RequiredParameterMissing},
          Refusal{nullptr, description, 1024, kCMSampleBufferError_RequiredParameterMissing},
          Refusal{data, nullptr, 1024, kCMSampleBufferError_RequiredParameterMissing}}) {
        EXPECT_EQ(codeOf([&] {
                      CMSampleBuffer::ofAudio(row.data, row.description, row.sampleCount, timing,
                                              4);
                  }),
                  row.code);
    }
}

} // namespace
} // namespace zelvane
