// SPDX-License-Identifier: GPL-3.0-or-later
#include <cmath>

#include <gtest/gtest.h>

#include "player_window/controls/scrubber_model.h"

namespace zelvane {
namespace {

constexpr CGSize kSize{203, 18.5};

ScrubberLayout layoutOf(const ScrubberModel& model, const CGSize& size = kSize) {
    return layOutScrubber(size, model.fraction(), {}, false);
}

ScrubberModel makeModel(double maximum, double value = 0) {
    ScrubberModel model;
    model.maxValue = maximum;
    model.setValue(value);
    return model;
}

TEST(ScrubberLayout, allPartsAreOnWholePixels) {
    for (const double scale : {1.0, 1.25, 1.5, 2.0, 3.0}) {
        for (int sixteenths = 0; sixteenths <= 16; ++sixteenths) {
            const double fraction = sixteenths / 16.0;
            const auto layout =
                layOutScrubber({300.4, 18.5}, fraction, {scale, 17.3, 401.9}, false);
            EXPECT_LE(layout.barRect.x + layout.barRect.width, 300.4 + 1e-9) << scale;
            for (const CGRect& rect : {layout.barRect, layout.barLeftClipRect,
                                       layout.barRightClipRect, layout.knobRect}) {
                const double left = (rect.x + 17.3) * scale;
                const double bottom = (rect.y + 401.9 + rect.height) * scale;
                EXPECT_NEAR(left, std::round(left), 1e-6) << scale << ' ' << fraction;
                EXPECT_NEAR(bottom, std::round(bottom), 1e-6) << scale << ' ' << fraction;
            }
        }
    }
}

TEST(ScrubberLayout, leavesTheSameGapOnBothSidesOfTheKnob) {
    for (const double fraction : {0.2, 0.31, 0.5, 0.77}) {
        const auto layout = layOutScrubber(kSize, fraction, {}, false);
        const double left =
            layout.knobRect.x - layout.barLeftClipRect.x - layout.barLeftClipRect.width;
        const double right = layout.barRightClipRect.x - layout.knobRect.x - layout.knobRect.width;
        EXPECT_EQ(left, 1) << fraction;
        EXPECT_EQ(right, 1) << fraction;
    }
    const auto contrast = layOutScrubber(kSize, 0.5, {}, true);
    EXPECT_GT(contrast.barLeftClipRect.x + contrast.barLeftClipRect.width, contrast.knobRect.x);
}

TEST(ScrubberLayout, survivesAWidthOfZero) {
    const auto layout = layOutScrubber({0, 18.5}, 0.5, {}, false);
    EXPECT_EQ(layout.knobPathTrackingRect.width, 0);
    EXPECT_EQ(layout.barLeftClipRect.width, 0);
}

TEST(Scrubber, aPressBesideTheKnobMovesItAndAPressOnItDoesNot) {
    ScrubberModel model = makeModel(100, 50);
    const auto layout = layoutOf(model);
    EXPECT_EQ(model.press(layout.knobRect.x + 1, 9, layout), (ScrubberOutcome{true, false, false}));
    EXPECT_EQ(model.value(), 50);
    EXPECT_EQ(model.release(), (ScrubberOutcome{false, false, true}));
    EXPECT_EQ(model.press(1.5 + 30, 9, layout), (ScrubberOutcome{true, true, false}));
    EXPECT_EQ(model.value(), 15);
    EXPECT_EQ(model.press(1.5 + 30, 9, layoutOf(model)), (ScrubberOutcome{true, false, false}));
}

TEST(Scrubber, aDragKeepsItsOffsetAndRestsBeyondTheEnds) {
    ScrubberModel model = makeModel(100, 50);
    const auto layout = layoutOf(model);
    const double grip = layout.knobRect.x + 2;
    model.press(grip, 9, layout);
    const struct {
        double x, value;
    } steps[] = {
        {grip + 20, 60}, {grip - 20, 40}, {251.5, 100}, {221.5, 100}, {201.5, 100},
        {191.5, 95},     {-48.5, 0},      {-8.5, 0},    {1.5, 0},     {11.5, 5},
    };
    for (const auto& step : steps) {
        model.drag(step.x, layout);
        EXPECT_NEAR(model.value(), step.value, 1e-9) << step.x;
    }
    model.release();
    EXPECT_EQ(model.drag(100, layout), ScrubberOutcome{});
}

TEST(Scrubber, anEmptyRangeStaysAtItsOnlyValue) {
    ScrubberModel model = makeModel(0);
    EXPECT_EQ(model.fraction(), 0);
    EXPECT_FALSE(model.press(100, 9, layoutOf(model)).didChangeValue);
    EXPECT_FALSE(model.step(0.05).didChangeValue);
    ScrubberModel reversed = makeModel(-5, -2);
    reversed.step(1);
    EXPECT_EQ(reversed.value(), 0);
}

TEST(Scrubber, scrollsByFineStepsInLongMedia) {
    const struct {
        double maximum;
        std::optional<double> amount;
        double expected;
    } cases[] = {{7200, 0.5, 1005}, {7200, std::nullopt, 1360}, {20, 0.5, 20}};
    for (const auto& given : cases) {
        ScrubberModel model = makeModel(given.maximum, std::min(1000.0, given.maximum / 2));
        model.scrollingValueAmount = given.amount;
        const auto outcome = model.scroll({10, true, false}, layoutOf(model));
        EXPECT_TRUE(outcome.didBeginTracking && outcome.didChangeValue);
        EXPECT_NEAR(model.value(), given.maximum == 20 ? 11 : given.expected, 1e-9);
        EXPECT_EQ(model.scroll({0, false, true}, layoutOf(model)),
                  (ScrubberOutcome{false, false, true}));
    }
}

} // namespace
} // namespace zelvane
