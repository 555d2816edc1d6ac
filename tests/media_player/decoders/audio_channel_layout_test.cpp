// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include "core_media/ffmpeg_error.h"
#include "media_player/decoders/audio/audio_channel_layout.h"

namespace zelvane {
namespace {

int channels(std::uint64_t mask) {
    return __builtin_popcountll(mask);
}

TEST(AudioChannelLayout, theLayoutsOfTheLibraryFindTheirTags) {
    struct Case {
        std::uint64_t mask;
        AudioChannelLayoutTag tag;
    };
    const std::vector<Case> cases{
        {AV_CH_LAYOUT_MONO, kAudioChannelLayoutTag_Mono},
        {AV_CH_LAYOUT_STEREO, kAudioChannelLayoutTag_Stereo},
        {AV_CH_LAYOUT_2POINT1, kAudioChannelLayoutTag_DVD_4},
        {AV_CH_LAYOUT_2_1, kAudioChannelLayoutTag_ITU_2_1},
        {AV_CH_LAYOUT_SURROUND, kAudioChannelLayoutTag_MPEG_3_0_A},
        {AV_CH_LAYOUT_3POINT1, kAudioChannelLayoutTag_DVD_10},
        {AV_CH_LAYOUT_4POINT0, kAudioChannelLayoutTag_MPEG_4_0_A},
        {AV_CH_LAYOUT_4POINT1, kAudioChannelLayoutTag_DVD_11},
        {AV_CH_LAYOUT_2_2, kAudioChannelLayoutTag_ITU_2_2},
        {AV_CH_LAYOUT_QUAD, kAudioChannelLayoutTag_ITU_2_2},
        {AV_CH_LAYOUT_5POINT0, kAudioChannelLayoutTag_MPEG_5_0_A},
        {AV_CH_LAYOUT_5POINT0_BACK, kAudioChannelLayoutTag_MPEG_5_0_A},
        {AV_CH_LAYOUT_5POINT1, kAudioChannelLayoutTag_MPEG_5_1_A},
        {AV_CH_LAYOUT_5POINT1_BACK, kAudioChannelLayoutTag_MPEG_5_1_A},
        {AV_CH_LAYOUT_6POINT1, kAudioChannelLayoutTag_MPEG_6_1_A},
        {AV_CH_LAYOUT_6POINT1_BACK, kAudioChannelLayoutTag_MPEG_6_1_A},
        {AV_CH_LAYOUT_7POINT1, kAudioChannelLayoutTag_MPEG_7_1_C},
        {AV_CH_LAYOUT_7POINT1_WIDE_BACK, kAudioChannelLayoutTag_MPEG_7_1_A},
        {AV_CH_LAYOUT_7POINT1_WIDE, kAudioChannelLayoutTag_MPEG_7_1_A},
        {AV_CH_FRONT_CENTER | AV_CH_LOW_FREQUENCY, kAudioChannelLayoutTag_AC3_1_0_1},
        {AV_CH_LAYOUT_STEREO | AV_CH_LOW_FREQUENCY | AV_CH_BACK_CENTER,
         kAudioChannelLayoutTag_DVD_5},
        {AV_CH_LAYOUT_2_2 | AV_CH_LOW_FREQUENCY, kAudioChannelLayoutTag_DVD_6},
        // Others stand in: wide and second channels, and the direct surrounds.
        {AV_CH_LAYOUT_STEREO | AV_CH_FRONT_CENTER | AV_CH_LOW_FREQUENCY_2 | AV_CH_WIDE_LEFT |
             AV_CH_WIDE_RIGHT,
         kAudioChannelLayoutTag_MPEG_5_1_A},
        {AV_CH_LAYOUT_5POINT1_BACK | AV_CH_SURROUND_DIRECT_LEFT | AV_CH_SURROUND_DIRECT_RIGHT,
         kAudioChannelLayoutTag_MPEG_7_1_C},
        {AV_CH_FRONT_LEFT_OF_CENTER | AV_CH_FRONT_RIGHT_OF_CENTER, kAudioChannelLayoutTag_Stereo},
    };
    for (const auto& [mask, tag] : cases) {
        EXPECT_EQ(audioChannels(mask, channels(mask)).tag, tag) << std::hex << mask;
    }
}

TEST(AudioChannelLayout, aLoneChannelOfAnyPlaceIsMono) {
    for (const std::uint64_t mask : {AV_CH_BACK_LEFT, AV_CH_LOW_FREQUENCY, AV_CH_TOP_CENTER}) {
        EXPECT_EQ(audioChannels(mask, 1).tag, kAudioChannelLayoutTag_Mono);
    }
}

TEST(AudioChannelLayout, withoutAMaskTheUsualLayoutOfTheCountIsTaken) {
    const std::vector<AudioChannelLayoutTag> tags{
        kAudioChannelLayoutTag_Mono,       kAudioChannelLayoutTag_Stereo,
        kAudioChannelLayoutTag_DVD_4,      kAudioChannelLayoutTag_ITU_2_2,
        kAudioChannelLayoutTag_MPEG_5_0_A, kAudioChannelLayoutTag_MPEG_5_1_A,
        kAudioChannelLayoutTag_MPEG_6_1_A, kAudioChannelLayoutTag_MPEG_7_1_C,
    };
    for (std::size_t i = 0; i < tags.size(); ++i) {
        EXPECT_EQ(audioChannels(0, static_cast<int>(i) + 1).tag, tags[i]);
    }
}

TEST(AudioChannelLayout, channelsWithoutATagAreLabelled) {
    const auto seven = audioChannels(AV_CH_LAYOUT_7POINT0, 7);
    EXPECT_EQ(seven.tag, kAudioChannelLayoutTag_UseChannelDescriptions);
    EXPECT_EQ(seven.labels, (std::vector<AudioChannelLabel>{1, 2, 3, 5, 6, 10, 11}));
    EXPECT_TRUE(seven.channelMap.empty());
    EXPECT_EQ(audioChannels(AV_CH_STEREO_LEFT | AV_CH_STEREO_RIGHT, 2).labels,
              (std::vector<AudioChannelLabel>{38, 39}));
    EXPECT_EQ(audioChannels(0, 9).labels.back(), kAudioChannelLabel_Discrete_0 + 8);
}

TEST(AudioChannelLayout, whatCannotBeDescribedIsRefusedWithItsReason) {
    struct Case {
        std::uint64_t mask;
        int channelCount;
        FFmpegError error;
        std::string text;
    };
    const std::vector<Case> cases{
        {0, 65, FFmpegError::unsupportedChannelCount(65), "65 is not a supported channel count."},
        {0, 0, FFmpegError::unsupportedChannelCount(0), "0 is not a supported channel count."},
        {AV_CH_LAYOUT_STEREO, 3,
         FFmpegError::channelLayoutDoesNotMatchChannelCount(AV_CH_LAYOUT_STEREO, 3),
         "Channel layout `3` does not match channel count of 3."},
        {AV_CH_FRONT_CENTER | std::uint64_t{1} << 63, 2,
         FFmpegError::unexpectedChannelType(std::uint64_t{1} << 63),
         "Unexpectedly encountered channel type `9223372036854775808`."},
    };
    for (const auto& [mask, channelCount, expected, text] : cases) {
        try {
            const auto tag = audioChannels(mask, channelCount).tag;
            ADD_FAILURE() << text << " was not thrown, but " << tag << " returned";
        } catch (const FFmpegError& error) {
            EXPECT_EQ(error, expected) << error.what();
            EXPECT_EQ(error.what(), text);
        }
    }
}

} // namespace
} // namespace zelvane
