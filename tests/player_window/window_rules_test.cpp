// SPDX-License-Identifier: GPL-3.0-or-later
#include <cmath>
#include <limits>
#include <numeric>

#include <gtest/gtest.h>

#include "player_window/controls/controls_layout.h"
#include "player_window/controls/discrete_slider_layout.h"
#include "player_window/controls/playback_rates.h"
#include "player_window/controls/time_formatter.h"
#include "player_window/views/player_view_layout.h"
#include "player_window/window/window_sizing.h"

namespace zelvane {

void PrintTo(const CGRect& rect, std::ostream* out) {
    *out << rect.x << ' ' << rect.y << ' ' << rect.width << 'x' << rect.height;
}

void PrintTo(const CGSize& size, std::ostream* out) {
    *out << size.width << 'x' << size.height;
}

namespace {

TEST(TimeFormatter, formatsTimesForLabels) {
    constexpr double kInfinity = std::numeric_limits<double>::infinity();
    const struct {
        double seconds;
        bool alwaysIncludeHours;
        const char* text;
    } cases[] = {
        {5.999, false, "00:05"},      {-0.0, false, "-00:00"},
        {3599.9, false, "59:59"},     {3600, false, "01:00:00"},
        {0, true, "00:00:00"},        {-3723, false, "-01:02:03"},
        {360000, false, "100:00:00"}, {NAN, false, "00:00"},
        {-NAN, true, "00:00:00"},     {-kInfinity, false, "-1281023894007607:45:04"},
    };
    for (const auto& given : cases) {
        EXPECT_EQ(TimeFormatter(given.alwaysIncludeHours).string(given.seconds), given.text);
    }
}

TEST(PlaybackRates, snapToTheNearestAndStepThroughAll) {
    const struct {
        float rate, nearest, below, above;
    } cases[] = {
        {1.0F, 1.0F, 0.75F, 1.25F}, {1.125F, 1.0F, 1.0F, 1.25F}, {1.3F, 1.25F, 1.25F, 1.5F},
        {10.0F, 2.0F, 2.0F, 2.0F},  {0.0F, 0.5F, 0.5F, 0.5F},    {2.0F, 2.0F, 1.75F, 2.0F},
        {0.5F, 0.5F, 0.5F, 0.75F},
    };
    for (const auto& given : cases) {
        EXPECT_EQ(kPlaybackRates.at(nearestPlaybackRate(given.rate)).rate, given.nearest);
        EXPECT_EQ(playbackRateBelow(given.rate), given.below) << given.rate;
        EXPECT_EQ(playbackRateAbove(given.rate), given.above) << given.rate;
    }
}

TEST(DiscreteSlider, labelsAreUnderTheirTicksAndInsideTheView) {
    const DiscreteSliderLabels labels{{CGSize{30, 16}, std::nullopt, CGSize{20, 18}}};
    EXPECT_EQ(discreteSliderSize(labels, 25), (CGSize{2 * 13 + 3 * 30, 25 + 18}));
    const auto below =
        layOutDiscreteSliderLabels(labels, {10, 50, 95}, 100, 25, TickMarkPosition::below);
    EXPECT_EQ(below[0], (CGRect{0, 25, 30, 18}));
    EXPECT_EQ(below[1], std::nullopt);
    EXPECT_EQ(below[2], (CGRect{80, 25, 20, 18}));
    const auto above =
        layOutDiscreteSliderLabels(labels, {50, 60, 70}, 100, 25, TickMarkPosition::above);
    EXPECT_EQ(above[0], (CGRect{35, 0, 30, 18}));
    EXPECT_EQ(above[2], (CGRect{60, 0, 20, 18}));
}

TEST(ControlsLayout, aNarrowBarDropsSliderThenJumpsThenFullScreen) {
    const ControlsContent all{.hasPictureInPictureButton = true, .hasRouteButton = true};
    const struct {
        double width;
        bool slider, jumps, fullScreen;
    } cases[] = {{611, true, true, true},   {484, true, true, true},    {483, false, false, true},
                 {388, false, false, true}, {387, false, false, false}, {377, false, false, false}};
    for (const auto& given : cases) {
        const ControlsLayout layout = layOutControls(given.width, all);
        EXPECT_EQ(layout.volumeSlider.has_value(), given.slider) << given.width;
        EXPECT_EQ(layout.jumpBackButton.has_value(), given.jumps) << given.width;
        EXPECT_EQ(layout.jumpForwardButton.has_value(), given.jumps) << given.width;
        EXPECT_EQ(layout.fullScreenButton.has_value(), given.fullScreen) << given.width;
        EXPECT_TRUE(layout.routeButton && layout.tracksButton && layout.pictureInPictureButton);
    }
    EXPECT_TRUE(layOutControls(377, {}).jumpBackButton);
}

TEST(ControlsLayout, partsDoNotTouchAtAnyWidth) {
    for (int width = 377; width <= 611; ++width) {
        const ControlsLayout layout = layOutControls(
            width, {true, true, true, true, /*currentTimeWidth=*/53, /*endTimeWidth=*/57});
        const std::vector<std::optional<CGRect>> rows[] = {
            {layout.volumeButton, layout.volumeSlider, layout.jumpBackButton,
             layout.playPauseButton, layout.jumpForwardButton, layout.tracksButton,
             layout.pictureInPictureButton, layout.routeButton, layout.fullScreenButton},
            {layout.currentTimeLabel, layout.scrubber, layout.endTimeLabel}};
        for (const auto& row : rows) {
            double right = 0;
            for (const auto& rect : row) {
                if (rect) {
                    EXPECT_GE(rect->x, right) << width;
                    right = rect->x + rect->width;
                }
            }
            EXPECT_LE(right, width);
        }
        EXPECT_EQ(layout.playPauseButton.x + layout.playPauseButton.width / 2, width / 2.0);
    }
}

TEST(PlayerViewLayout, controlsFloatAtTheBottom) {
    EXPECT_EQ(floatingControlsRect({1280, 720}), (CGRect{334.5, 607, 611, 92}));
    EXPECT_EQ(floatingControlsRect({653, 400}), (CGRect{21, 287, 611, 92}));
    EXPECT_EQ(floatingControlsRect({500, 400}), (CGRect{21, 287, 458, 92}));
    const CGRect panel = floatingControlsRect(fittingVideoPlayerSize());
    EXPECT_EQ(panel, (CGRect{21, fittingVideoPlayerSize().height - 113, 377, 92}));
    EXPECT_GE(panel.y - kTitleBarHeight, 80) << "the picture would be hidden";
    EXPECT_EQ(minimumContentSize({fittingVideoPlayerSize(), true, CGSize{16, 9}}).width, 419);
}

TEST(PlayerViewLayout, subtitlesAreOnThePictureAlone) {
    EXPECT_EQ(largestRectOfShape({1920, 1080}, {1000, 1000}), (CGRect{0, 218.75, 1000, 562.5}));
    EXPECT_EQ(largestRectOfShape({1080, 1920}, {1000, 960}), (CGRect{230, 0, 540, 960}));
    EXPECT_EQ(largestRectOfShape({}, {640, 480}), (CGRect{0, 0, 640, 480}));
}

TEST(PlayerViewLayout, subtitlesMoveAboveThePanel) {
    const CGRect panel{300, 600, 600, 92};
    const CGRect picture{0, 0, 1200, 700};
    const struct {
        CGRect text;
        double lift;
    } cases[] = {
        {{400, 620, 300, 60}, 88}, {{400, 500, 300, 92}, 0},  {{400, 500, 300, 93}, 1},
        {{0, 620, 300, 60}, 0},    {{400, 50, 300, 640}, 50},
    };
    for (const auto& given : cases) {
        EXPECT_EQ(subtitlesLift(given.text, panel, picture), given.lift) << given.text.y;
    }
}

TEST(PlayerViewLayout, subtitlesMoveBelowTheTitleBar) {
    const CGRect titleBar{0, 0, 1200, 40};
    const CGRect picture{0, 0, 1200, 700};
    const struct {
        CGRect text;
        double drop;
    } cases[] = {
        {{400, 10, 300, 60}, 40},
        {{400, 50, 300, 60}, 0},
        {{400, 49, 300, 60}, 1},
        {{400, 10, 300, 680}, 10},
    };
    for (const auto& given : cases) {
        EXPECT_EQ(subtitlesDrop(given.text, titleBar, picture), given.drop) << given.text.y;
    }
}

TEST(PlayerViewLayout, theIndicatorIsAColumnInTheMiddle) {
    const auto plain = layOutExternalPlaybackIndicator({400, 300}, {60, 60}, {200, 10}, {});
    EXPECT_EQ(plain.image, (CGRect{170, 100, 60, 60}));
    EXPECT_EQ(plain.title, (CGRect{100, 190, 200, 10}));
    const auto both = layOutExternalPlaybackIndicator({150, 300}, {60, 60}, {200, 20}, {{90, 9}});
    EXPECT_EQ(both.image, (CGRect{45, 90, 60, 60}));
    EXPECT_EQ(both.title, (CGRect{0, 180, 150, 20}));
    EXPECT_EQ(both.subtitle, (CGRect{30, 201, 90, 9}));
}

TEST(WindowSizing, aPictureHasItsOwnSizeWithinTheScreen) {
    const CGSize fitting{419, 174};
    const struct {
        WindowContent content;
        CGSize minimum, preferred;
    } cases[] = {
        {{fitting, true, CGSize{1920, 1080}}, {419, 419 * 9.0 / 16}, {1920, 1080}},
        {{fitting, true, CGSize{320, 240}}, {419, 314.25}, {419, 314.25}},
        {{fitting, true, CGSize{2400, 400}}, {1044, 174}, {2400, 400}},
        {{fitting, true, CGSize{1920, 0}}, fitting, fitting},
        {{fitting, true, std::nullopt}, fitting, {640, 480}},
        {{{377, 132}, false, CGSize{1920, 1080}}, {377, 132}, {377, 132}},
    };
    for (const auto& given : cases) {
        EXPECT_EQ(minimumContentSize(given.content), given.minimum);
        EXPECT_EQ(preferredContentSize(given.content), given.preferred);
    }
    EXPECT_EQ(contentSizeWithin({3840, 2160}, {0, 40}, {1440, 850}), (CGSize{1440, 810}));
    EXPECT_EQ(contentSizeWithin({3840, 2160}, {10, 40}, {1930, 580}), (CGSize{960, 540}));
    EXPECT_EQ(contentSizeWithin({320, 240}, {0, 40}, {1440, 850}), (CGSize{320, 240}));
    EXPECT_EQ(contentSizeWithin({320, 240}, {0, 40}, {1440, 40}), (CGSize{320, 240}));
    EXPECT_EQ(centredWithin({1000, 500}, {64, 27, 1375, 773}), (CGRect{251, 163, 1000, 500}));
    EXPECT_EQ(centredWithin({2000, 900}, {64, 27, 1375, 773}), (CGRect{64, 27, 2000, 900}));
    EXPECT_EQ(sizeOfAspectWithin({16, 9}, {800, 800}), (CGSize{800, 450}));
    EXPECT_EQ(correctionToAspect({16, 9}, {800, 452}), (CGSize{800, 450}));
    EXPECT_EQ(correctionToAspect({16, 9}, {800, 451}), std::nullopt);
    EXPECT_EQ(correctionToAspect({}, {800, 451}), std::nullopt);
    for (int width = 300; width < 400; ++width) {
        const auto size = correctionToAspect({1920, 803}, {static_cast<double>(width), 1000});
        EXPECT_EQ(correctionToAspect({1920, 803}, *size), std::nullopt) << width;
    }
}

TEST(WindowSizing, newWindowsLeaveTheTitleBarsOfTheOthersVisible) {
    const CGRect workArea{64, 27, 1216, 773};
    const CGRect first = centredWithin({1000, 560}, workArea);
    std::vector<CGRect> windows;
    for (const auto& [x, y] : std::vector<std::pair<double, double>>{
             {172, 133}, {212, 173}, {252, 213}, {64, 27}, {104, 67}, {172, 133}}) {
        windows.push_back(cascadedWithin(first, windows, workArea));
        EXPECT_EQ(windows.back(), (CGRect{x, y, 1000, 560}));
    }
    EXPECT_EQ(cascadedWithin(workArea, {workArea}, workArea), workArea)
        << "there is no other place";
}

TEST(WindowSizing, aWindowWhoseScreenIsGoneIsMovedToTheNearestOne) {
    const std::vector<CGRect> screens{{0, 30, 1280, 770}, {1280, 0, 800, 600}};
    const struct {
        CGRect window, expected;
    } cases[] = {
        {{100, 100, 640, 360}, {100, 100, 640, 360}},
        {{1200, 100, 640, 360}, {1200, 100, 640, 360}},
        {{-540, 780, 640, 360}, {-540, 780, 640, 360}},
        {{-541, 700, 640, 360}, {0, 440, 640, 360}},
        {{100, 9, 640, 360}, {100, 30, 640, 360}},
        {{2200, 100, 640, 360}, {1440, 100, 640, 360}},
        {{2200, 700, 1600, 900}, {1280, 150, 800, 450}},
    };
    for (const auto& given : cases) {
        EXPECT_EQ(reachableWithin(given.window, screens), given.expected) << given.window.x;
    }
    EXPECT_EQ(reachableWithin({2200, 0, 640, 360}, {}), (CGRect{2200, 0, 640, 360}));
}

} // namespace
} // namespace zelvane
