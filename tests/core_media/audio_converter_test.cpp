// SPDX-License-Identifier: GPL-3.0-or-later
#include <vector>

#include <gtest/gtest.h>

#include "core_media/audio_converter.h"

namespace zelvane {
namespace {

TEST(AudioConverter, putsEachByteInItsPlaceForEveryShape) {
    for (const std::size_t bytes : {1, 2, 4, 8}) {
        for (const std::size_t channels : {1, 2, 3, 6, 8}) {
            for (const std::size_t frames : {0, 1, 7, 1023}) {
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
                interleaveChannels(frames, bytes, pointers, output.data());
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

} // namespace
} // namespace zelvane
