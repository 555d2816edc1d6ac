// SPDX-License-Identifier: GPL-3.0-or-later
#include <cmath>
#include <limits>
#include <numeric>
#include <random>
#include <vector>

#include <gtest/gtest.h>

#include "foundation/cm_time.h"

namespace zelvane {

void PrintTo(const CMTime& time, std::ostream* stream) {
    *stream << time.description();
}

namespace {

__extension__ using Int128 = __int128;

constexpr std::int64_t kMaxValue = std::numeric_limits<std::int64_t>::max();
constexpr std::int64_t kMinValue = std::numeric_limits<std::int64_t>::min();
constexpr std::int32_t kMaxScale = CMTime::kMaxTimescale;

/// Random times at the timescales of media, from a fixed seed.
class TimeSource {
  public:
    CMTime next() {
        constexpr std::array<std::int32_t, 12> kScales{
            1, 24, 25, 600, 1000, 1001, 30000, 44100, 48000, 90000, 1000000, 14112000};
        const auto scale = kScales[random_() % kScales.size()];
        // Up to a day, on either side of zero.
        std::uniform_int_distribution<std::int64_t> value(-86400LL * scale, 86400LL * scale);
        return {value(random_), scale};
    }

  private:
    std::mt19937_64 random_{7};
};

constexpr int kRounds = 20000;

TEST(CMTime, addsMediaTimesExactlyAndOrdersThemBySeconds) {
    TimeSource times;
    for (int i = 0; i < kRounds; ++i) {
        const CMTime a = times.next();
        const CMTime b = times.next();
        const CMTime c = times.next();
        SCOPED_TRACE(a.description() + " " + b.description() + " " + c.description());
        const CMTime sum = a + b;
        ASSERT_FALSE(sum.hasBeenRounded());
        ASSERT_EQ(sum.timescale(), std::lcm<std::int64_t>(a.timescale(), b.timescale()));
        const Int128 expected = static_cast<Int128>(a.value()) * (sum.timescale() / a.timescale()) +
                                static_cast<Int128>(b.value()) * (sum.timescale() / b.timescale());
        ASSERT_TRUE(sum.value() == expected);
        ASSERT_EQ(sum, b + a);
        ASSERT_EQ(a - b, -(b - a));
        ASSERT_EQ(sum - b, a);
        ASSERT_EQ(a * 3, a + a + a);
        ASSERT_EQ(a < b, a + c < b + c);
        ASSERT_EQ((a < b) + (a == b) + (a > b), 1);
        if (std::abs(a.seconds() - b.seconds()) > 1e-6) {
            ASSERT_EQ(a < b, a.seconds() < b.seconds());
        }
    }
}

TEST(CMTime, comparesMoreExactlyThanDoubles) {
    EXPECT_EQ(CMTime(1, 3), CMTime(20000, 60000));
    EXPECT_LT(CMTime(kMaxValue - 1, kMaxScale), CMTime(kMaxValue, kMaxScale));
    EXPECT_LT(CMTime(kMaxValue, kMaxScale), CMTime(kMaxValue, kMaxScale - 1));
    EXPECT_GT(CMTime(kMinValue, kMaxScale), CMTime(kMinValue, kMaxScale - 1));
    EXPECT_LT(CMTime(kMinValue, 1), CMTime(kMaxValue, 1));
}

TEST(CMTime, roundsSumsBeyondTheLargestTimescale) {
    const CMTime a(1, kMaxScale);
    const CMTime b(1, kMaxScale - 1);
    const CMTime sum = a + b;
    EXPECT_TRUE(sum.hasBeenRounded());
    EXPECT_EQ(sum, CMTime(2, kMaxScale));
    EXPECT_TRUE((sum + CMTime(1, kMaxScale)).hasBeenRounded()) << "the flag is kept";

    // Halving the timescale keeps the exact value.
    const CMTime large = CMTime(kMaxValue, 1000) + CMTime(kMaxValue, 1000);
    EXPECT_TRUE(large.isNumeric());
    EXPECT_EQ(large.timescale(), 500);
    EXPECT_FALSE(large.hasBeenRounded());
    EXPECT_EQ(large, CMTime(kMaxValue, 500));
}

TEST(CMTime, returnsInfinityForAResultThatFitsNoTimescale) {
    EXPECT_EQ(CMTime(kMaxValue, 1) + CMTime(1, 1), kCMTimePositiveInfinity);
    EXPECT_EQ(CMTime(kMinValue, 1) - CMTime(1, 1), kCMTimeNegativeInfinity);
    EXPECT_EQ(-CMTime(kMinValue, 1), kCMTimePositiveInfinity);
    EXPECT_EQ(CMTime(kMaxValue, kMaxScale) * kMaxValue, kCMTimePositiveInfinity);
    EXPECT_EQ(CMTime(kMaxValue, kMaxScale) * kMinValue, kCMTimeNegativeInfinity);
    EXPECT_EQ(CMTime(kMinValue, 1) + CMTime(kMinValue, kMaxScale), kCMTimeNegativeInfinity);
    EXPECT_EQ(CMTime(kMaxValue, 1).convertScale(2, CMTimeRoundingMethod::roundTowardZero),
              kCMTimePositiveInfinity);
}

TEST(CMTime, convertScaleAppliesTheRoundingMethod) {
    using Method = CMTimeRoundingMethod;
    // Half away from zero, toward zero, away from zero, up, down.
    const std::vector<std::pair<CMTime, std::array<std::int64_t, 5>>> cases{
        {CMTime(7, 2), {4, 3, 4, 4, 3}},  {CMTime(-7, 2), {-4, -3, -4, -3, -4}},
        {CMTime(10, 3), {3, 3, 4, 4, 3}}, {CMTime(-10, 3), {-3, -3, -4, -3, -4}},
        {CMTime(11, 3), {4, 3, 4, 4, 3}}, {CMTime(-11, 3), {-4, -3, -4, -3, -4}},
        {CMTime(12, 3), {4, 4, 4, 4, 4}}, {CMTime(0, 3), {0, 0, 0, 0, 0}},
    };
    constexpr std::array kMethods{Method::roundHalfAwayFromZero, Method::roundTowardZero,
                                  Method::roundAwayFromZero, Method::roundTowardPositiveInfinity,
                                  Method::roundTowardNegativeInfinity};
    for (const auto& [time, results] : cases) {
        for (std::size_t i = 0; i < kMethods.size(); ++i) {
            const CMTime converted = time.convertScale(1, kMethods[i]);
            EXPECT_EQ(converted.value(), results[i]) << time.description() << ", method " << i;
            EXPECT_EQ(converted.hasBeenRounded(), converted != time);
        }
    }
}

TEST(CMTime, isInvalidForATimescaleBelowOne) {
    EXPECT_FALSE(CMTime(1, 0).isValid());
    EXPECT_FALSE(CMTime(1, -5).isValid());
    EXPECT_FALSE(CMTime(1, 2).convertScale(0, CMTimeRoundingMethod::roundTowardZero).isValid());
}

TEST(CMTime, ordersSpecialValues) {
    const std::vector<CMTime> ordered{
        kCMTimeNegativeInfinity, CMTime(kMinValue, 1),    kCMTimeZero,   CMTime(kMaxValue, 1),
        kCMTimeIndefinite,       kCMTimePositiveInfinity, kCMTimeInvalid};
    for (std::size_t i = 0; i < ordered.size(); ++i) {
        for (std::size_t k = 0; k < ordered.size(); ++k) {
            EXPECT_EQ(ordered[i] < ordered[k], i < k) << i << " " << k;
            EXPECT_EQ(ordered[i] == ordered[k], i == k) << i << " " << k;
        }
    }
}

TEST(CMTime, propagatesSpecialValuesThroughSums) {
    const CMTime number(5, 2);
    const CMTime up = kCMTimePositiveInfinity;
    const CMTime down = kCMTimeNegativeInfinity;
    const CMTime open = kCMTimeIndefinite;
    const CMTime none = kCMTimeInvalid;
    const std::vector<std::array<CMTime, 3>> cases{
        {number, up, up},   {number, down, down}, {number, open, open}, {number, none, none},
        {up, up, up},       {down, down, down},   {up, down, none},     {open, up, up},
        {open, down, down}, {open, open, open},   {none, up, none},     {none, open, none},
    };
    for (const auto& [left, right, sum] : cases) {
        EXPECT_EQ(left + right, sum) << left.description() << " + " << right.description();
        EXPECT_EQ(right + left, sum) << right.description() << " + " << left.description();
    }
    EXPECT_EQ(-up, down);
    EXPECT_EQ(number - up, down);
    EXPECT_EQ(up * -1, down);
    for (const CMTime& special : {up, down, open, none}) {
        EXPECT_FALSE(special.isNumeric());
        EXPECT_EQ(special.convertScale(600, CMTimeRoundingMethod::roundTowardZero), special);
        EXPECT_FALSE(std::isfinite(special.seconds()));
    }
}

TEST(CMTime, convertsToSecondsAndBack) {
    TimeSource times;
    for (int i = 0; i < kRounds; ++i) {
        const CMTime time = times.next();
        const CMTime back = CMTime::fromSeconds(time.seconds(), time.timescale());
        const auto error = back < time ? time - back : back - time;
        ASSERT_LE(error, CMTime(1, time.timescale())) << time.description();
    }
    EXPECT_EQ(CMTime::fromSeconds(0.5, 600).value(), 300);
    EXPECT_FALSE(CMTime::fromSeconds(0.5, 600).hasBeenRounded());
    EXPECT_TRUE(CMTime::fromSeconds(0.3333, 600).hasBeenRounded());
    EXPECT_LT(CMTime::fromSeconds(1e12, 1000000000).timescale(), 1000000000);
    EXPECT_EQ(CMTime::fromSeconds(1e300, 600), kCMTimePositiveInfinity);
    EXPECT_EQ(CMTime::fromSeconds(-1e300, 600), kCMTimeNegativeInfinity);
    EXPECT_EQ(CMTime::fromSeconds(std::numeric_limits<double>::infinity(), 600),
              kCMTimePositiveInfinity);
    EXPECT_FALSE(CMTime::fromSeconds(std::nan(""), 600).isValid());
}

} // namespace
} // namespace zelvane
