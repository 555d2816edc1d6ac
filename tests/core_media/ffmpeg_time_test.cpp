// SPDX-License-Identifier: GPL-3.0-or-later
#include <limits>
#include <random>

#include <gtest/gtest.h>

#include "core_media/ffmpeg_time.h"

namespace zelvane {
namespace {

TEST(FFmpegTime, convertsStampsExactlyAndAbsentOnesToNoTime) {
    const auto ntsc = timeFromStamp(30, {1001, 30000});
    ASSERT_TRUE(ntsc);
    EXPECT_EQ(ntsc->value(), 30030);
    EXPECT_EQ(ntsc->timescale(), 30000);
    EXPECT_EQ(timeFromStamp(-90000, {1, 90000}), CMTime(-1, 1));
    EXPECT_EQ(timeFromStamp(1500000, av_get_time_base_q()), CMTime(3, 2));
    EXPECT_EQ(timeFromStamp(AV_NOPTS_VALUE, {1, 90000}), std::nullopt);
    EXPECT_EQ(timeFromStamp(5, {0, 90000}), std::nullopt);
    EXPECT_EQ(timeFromStamp(5, {1, 0}), std::nullopt);
}

TEST(FFmpegTime, convertsTimesToTheStampAtOrBeforeThem) {
    struct Case {
        CMTime time;
        AVRational timeBase;
        std::int64_t stamp;
    };
    const std::vector<Case> cases{
        {CMTime(1, 1), {1, 90000}, 90000},       {CMTime(1, 3), {1, 1000}, 333},
        {CMTime(-1, 3), {1, 1000}, -334},        {CMTime(1, 1), {1001, 30000}, 29},
        {CMTime(1001, 30000), {1001, 30000}, 1}, {CMTime(-1, 1), {1001, 30000}, -30},
        {kCMTimeZero, {1001, 30000}, 0},
    };
    for (const auto& [time, timeBase, stamp] : cases) {
        EXPECT_EQ(stampFromTime(time, timeBase), stamp) << time.description();
    }
    EXPECT_EQ(containerStampFromTime(CMTime(1, 3)), 333333);
    EXPECT_EQ(containerStampFromTime(CMTime(-1, 3)), -333334);
}

TEST(FFmpegTime, stampsSurviveTheRoundTrip) {
    std::mt19937_64 random(3);
    for (const AVRational base : {AVRational{1, 90000}, AVRational{1001, 24000}, AVRational{1, 1},
                                  AVRational{3, 7}, AVRational{1, 14112000}}) {
        for (int i = 0; i < 2000; ++i) {
            const auto stamp = static_cast<std::int64_t>(random() >> 20) - (std::int64_t{1} << 43);
            ASSERT_EQ(stampFromTime(*timeFromStamp(stamp, base), base), stamp)
                << base.num << "/" << base.den;
        }
    }
}

TEST(FFmpegTimeDeathTest, overflowAndAZeroTimeBaseStopTheProcess) {
    EXPECT_DEATH(timeFromStamp(std::numeric_limits<std::int64_t>::max(), {2, 1}),
                 "does not fit 64 bits");
    EXPECT_DEATH(stampFromTime(kCMTimeZero, {0, 1}), "in units of nothing");
}

} // namespace
} // namespace zelvane
