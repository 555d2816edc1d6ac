// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include "core_media/ffmpeg_error.h"
#include "media_player/decoders/audio/audio_properties.h"
#include "tests/support/log_capture.h"

namespace zelvane {
namespace {

using test::LogCapture;

constexpr BufferLevelProperties kStereo{48000, 2, AV_CH_LAYOUT_STEREO};

TEST(AudioProperties, describeEachSampleFormat) {
    struct Case {
        AVSampleFormat format;
        AudioFormatFlags flags;
        bool isPlanar;
        int bytes;
    };
    const std::vector<Case> cases{
        {AV_SAMPLE_FMT_U8, 0x10, false, 1},  {AV_SAMPLE_FMT_S16, 0x14, false, 2},
        {AV_SAMPLE_FMT_S32, 0x14, false, 4}, {AV_SAMPLE_FMT_FLT, 0x11, false, 4},
        {AV_SAMPLE_FMT_DBL, 0x11, false, 8}, {AV_SAMPLE_FMT_U8P, 0x10, true, 1},
        {AV_SAMPLE_FMT_S16P, 0x14, true, 2}, {AV_SAMPLE_FMT_S32P, 0x14, true, 4},
        {AV_SAMPLE_FMT_FLTP, 0x11, true, 4}, {AV_SAMPLE_FMT_DBLP, 0x11, true, 8},
        {AV_SAMPLE_FMT_S64, 0x14, false, 8}, {AV_SAMPLE_FMT_S64P, 0x14, true, 8},
    };
    for (const auto& [format, flags, isPlanar, bytes] : cases) {
        const AudioProperties properties(format, 0, kStereo);
        EXPECT_EQ(properties.audioFormatFlags, flags) << format;
        EXPECT_EQ(properties.needsConversionToInterleaved, isPlanar) << format;
        EXPECT_EQ(properties.bytesPerSample, bytes) << format;
        EXPECT_EQ(properties.bitsPerSample, bytes * 8) << format;
        EXPECT_EQ(audioFormatFlags(format), flags | (isPlanar ? 0x20U : 0U)) << format;
    }
}

TEST(AudioProperties, theFormatDescriptionIsThatOfTheInterleavedSamples) {
    const AudioProperties properties(AV_SAMPLE_FMT_S32P, 24, {96000, 6, AV_CH_LAYOUT_5POINT1});
    const auto description = properties.makeSampleBufferFormat().description;
    ASSERT_NE(description->audio(), nullptr);
    const AudioStreamBasicDescription expected{96000, kAudioFormatLinearPCM, 0x14, 24, 1, 24, 6, 24,
                                               0};
    EXPECT_EQ(description->audio()->streamDescription, expected);
    EXPECT_EQ(description->audio()->channelLayoutTag, kAudioChannelLayoutTag_MPEG_5_1_A);
    EXPECT_TRUE(description->audio()->extensions.empty());
}

TEST(AudioProperties, anUnknownFormatIsLoggedAndRefused) {
    const LogCapture log;
    constexpr auto kUnheardOf = static_cast<AVSampleFormat>(77);
    const auto expectThrown = [](const FFmpegError& expected, const auto& make) {
        try {
            make();
            ADD_FAILURE() << expected.what() << " was not thrown";
        } catch (const FFmpegError& error) {
            EXPECT_EQ(error, expected) << error.what();
        }
    };
    expectThrown(FFmpegError::unknownAudioSampleSize(AV_SAMPLE_FMT_NONE),
                 [] { AudioProperties(AV_SAMPLE_FMT_NONE, 0, kStereo); });
    expectThrown(FFmpegError::unknownSampleFormat(kUnheardOf),
                 [] { audioFormatFlags(kUnheardOf); });
    EXPECT_EQ(log.lines(),
              (std::vector<std::string>{
                  "av_get_bytes_per_sample returned error: Unknown sample size for sample format "
                  "-1..",
                  "Could not initialize AudioFormatFlags: Unknown sample format 77.."}));
}

TEST(AudioProperties, aGuessedLayoutIsLogged) {
    const LogCapture log;
    AudioProperties(AV_SAMPLE_FMT_S16, 0, {48000, 6, 0}).makeSampleBufferFormat();
    AudioProperties(AV_SAMPLE_FMT_S16, 0, kStereo).makeSampleBufferFormat();
    EXPECT_EQ(log.lines(), (std::vector<std::string>{
                               "FFmpeg did not provide a channel layout, so using the default "
                               "standard layout for 6 channels: 7929862."}));
}

TEST(AudioProperties, channelsWithoutPlacesHaveNoMask) {
    AVChannelLayout layout{};
    layout.order = AV_CHANNEL_ORDER_UNSPEC;
    layout.nb_channels = 6;
    EXPECT_EQ(bufferLevelProperties(44100, layout), (BufferLevelProperties{44100, 6, 0}));
    av_channel_layout_default(&layout, 6);
    EXPECT_EQ(bufferLevelProperties(44100, layout),
              (BufferLevelProperties{44100, 6, AV_CH_LAYOUT_5POINT1_BACK}));
}

} // namespace
} // namespace zelvane
