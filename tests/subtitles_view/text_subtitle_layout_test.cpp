// SPDX-License-Identifier: GPL-3.0-or-later
#include "subtitles_view/text_subtitle_layout.h"

#include <cmath>
#include <limits>

#include <gtest/gtest.h>

namespace zelvane {
namespace {

using Alignment = SubtitleTextStyle::Alignment;
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();

void expectRect(const CGRect& rect, const CGRect& expected) {
    EXPECT_NEAR(rect.x, expected.x, 1e-9);
    EXPECT_NEAR(rect.y, expected.y, 1e-9);
    EXPECT_NEAR(rect.width, expected.width, 1e-9);
    EXPECT_NEAR(rect.height, expected.height, 1e-9);
}

SubtitleTextStyle style(double size, double percentage, double multiplier = 1) {
    SubtitleTextStyle result;
    result.scalingInfo = {size, percentage, multiplier};
    return result;
}

TEST(TextSubtitleLayout, textHasItsPercentageOfThePicturesHeight) {
    struct Case {
        SubtitleTextStyle::ScalingInfo scaling;
        double height;
        double scale;
    };
    const Case cases[] = {
        // A script of 720 lines in a picture of 1080.
        {{40, 40.0 / 720 * 100, 1}, 1080, 1.5},
        {{16, 5, 1}, 1080, 3.375},
        {{12, 5, 2}, 360, 1.5},
        // No usable values.
        {{12, 5, 1}, 0, 1},
        {{0, 5, 1}, 1080, 1},
        {{0, 0, 1}, 1080, 1},
        {{-16, 5, 1}, 1080, 1},
        {{12, kNaN, 1}, 1080, 1},
        {{12, kInfinity, 1}, 1080, 1},
    };
    for (const Case& c : cases) {
        EXPECT_DOUBLE_EQ(textSubtitleScale(c.scaling, c.height), c.scale)
            << c.scaling.initialBaseFontSize << " in " << c.height;
    }
}

TEST(TextSubtitleLayout, theSpaceExcludesTheMarginsAndTheBox) {
    SubtitleTextStyle margins = style(40, 40.0 / 720 * 100);
    margins.containerInsets = {10, 20, 30, 40};
    margins.overlayStyle.insets = {2, 4};
    const auto space = textSubtitleSpace(margins, {1920, 1080});
    expectRect(space.frame, {30 + 3, 15 + 6, 1920 - 90 - 6, 1080 - 60 - 12});
    EXPECT_DOUBLE_EQ(space.unit, 1.5);
    EXPECT_EQ(space.overlayInsets, (CGSize{3, 6}));
}

TEST(TextSubtitleLayout, theFactorForTheTextLeavesTheMarginsAsTheyAre) {
    SubtitleTextStyle large = style(12, 5, 2);
    large.containerInsets = {12, 12, 12, 12};
    const auto space = textSubtitleSpace(large, {640, 360});
    expectRect(space.frame, {18, 18, 640 - 36, 360 - 36});
    EXPECT_DOUBLE_EQ(space.unit, 3);
}

TEST(TextSubtitleLayout, marginsThatAreNotFiniteCountAsZero) {
    SubtitleTextStyle odd = style(10, 10);
    odd.containerInsets = {kNaN, 5, kInfinity, -kInfinity};
    odd.overlayStyle.insets = {kNaN, 0};
    expectRect(textSubtitleSpace(odd, {200, 100}).frame, {5, 0, 195, 100});
}

TEST(TextSubtitleLayout, textMayUseTheWholePictureIfMarginsLeaveNoSpace) {
    SubtitleTextStyle tight = style(10, 20);
    tight.containerInsets = {60, 100, 60, 100};
    const CGSize view{200, 100};
    const auto space = textSubtitleSpace(tight, view);
    EXPECT_EQ(textSubtitleLimits(space, view), (CGSize{100, 50}));
    // Its position follows the margins.
    expectRect(textSubtitleFrame(space, Alignment::center, true, {20, 10}), {80, -40, 40, 20});

    tight.containerInsets = {0, 0, 0, 0};
    EXPECT_EQ(textSubtitleLimits(textSubtitleSpace(tight, view), view), (CGSize{100, 50}));
}

TEST(TextSubtitleLayout, theBlockIsAlignedAtTheBottomOrTheTop) {
    const TextSubtitleSpace space{{10, 20, 300, 200}, 2, {3, 4}};
    struct Case {
        Alignment alignment;
        bool standsAtBottom;
        CGRect frame;
    };
    const Case cases[] = {
        {Alignment::left, true, {10, 160, 100, 60}},
        {Alignment::center, true, {110, 160, 100, 60}},
        {Alignment::right, true, {210, 160, 100, 60}},
        {Alignment::left, false, {10, 20, 100, 60}},
        {Alignment::center, false, {110, 20, 100, 60}},
        {Alignment::right, false, {210, 20, 100, 60}},
    };
    for (const Case& c : cases) {
        expectRect(textSubtitleFrame(space, c.alignment, c.standsAtBottom, {49.6, 29.7}), c.frame);
    }
    expectRect(textSubtitleBox(space, {110, 160, 100, 60}), {107, 156, 106, 68});
}

TEST(TextSubtitleLayout, theBlocksSidesAreWholeUnitsOfTheView) {
    const TextSubtitleSpace space{{0, 0, 300, 200}, 1.5, {}};
    expectRect(textSubtitleFrame(space, Alignment::left, false, {10, 10.01}), {0, 0, 15, 16});
    // Rounding errors do not enlarge the frame.
    expectRect(textSubtitleFrame(space, Alignment::left, false, {10 + 1e-12, 2}), {0, 0, 15, 3});
}

} // namespace
} // namespace zelvane
