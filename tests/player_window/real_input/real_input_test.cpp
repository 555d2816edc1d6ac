// SPDX-License-Identifier: GPL-3.0-or-later
//
// The desktop program under a window manager, used by a real pointer and real keys, and observed by
// what the user sees and hears: pixels, windows, streams at the sound server.
#include <cmath>
#include <optional>

#include <fmt/format.h>
#include <gtest/gtest.h>

#include "player_window/controls/controls_layout.h"
#include "player_window/views/player_view_layout.h"
#include "tests/player_window/real_input/real_player.h"

namespace zelvane {
namespace {

constexpr double kLuminanceAtStart = 40;
constexpr double kLuminancePerSecond = 0.5;

/// A film whose brightness is its time, as long as the slowest machine needs for a test.
std::string film() {
    return test::madeClip(
               "brightness-is-time.mp4",
               test::lavfi("color=black:s=16x16:r=25:d=300,"
                           "geq=lum='40+T/2':cb=128:cr=128,"
                           "scale=640:360:flags=neighbor,setsar=1") +
                   test::lavfi("sine=f=440:d=300") +
                   "-pix_fmt yuv420p -c:v libx264 -preset ultrafast -qp 4 -g 25 -c:a aac")
        .string();
}

class RealInputTest : public testing::Test {
  protected:
    void SetUp() override {
        if (!test::RealPlayer::isAvailable()) {
            GTEST_SKIP() << "SKIPPED: openbox, xdotool, xprop or pulseaudio is missing";
        }
    }

    void open(const std::vector<std::string>& files) { player_.emplace(files); }

    void pause() const {
        test::RealPlayer::press("space");
        ASSERT_TRUE(player_->waitForStreams({false}));
    }

    /// A point of the first window, from shares of its size.
    QPoint pointAt(double x, double y) const {
        const QRect rect = player_->rect();
        return {static_cast<int>(rect.x() + rect.width() * x),
                static_cast<int>(rect.y() + rect.height() * y)};
    }

    /// The time of the picture that is shown, within two seconds.
    double shownTime() const {
        const QRect rect = player_->rect();
        const QImage image = test::screenshotOf({rect.x() + 10, rect.center().y(), 1, 1});
        const double luminance = qGreen(image.pixel(0, 0)) * 219.0 / 255 + 16;
        return (luminance - kLuminanceAtStart) / kLuminancePerSecond;
    }
    bool waitForTime(double from, double to) const {
        return test::waitFor([&] {
            const double time = shownTime();
            return time >= from && time <= to;
        });
    }

    /// The panel of the controls on the screen.
    QRectF panel() const {
        const QRect rect = player_->rect();
        const CGRect inside = floatingControlsRect(
            {static_cast<double>(rect.width()), static_cast<double>(rect.height())});
        return {rect.x() + inside.x, rect.y() + inside.y, inside.width, inside.height};
    }
    ControlsLayout layout() const { return layOutControls(panel().width(), {}); }
    QPoint pointOf(const CGRect& control) const {
        return (panel().topLeft() +
                QPointF(control.x + control.width / 2, control.y + control.height / 2))
            .toPoint();
    }
    /// A point on the scrubber, from its distance to the left edge of the panel.
    QPoint pointOnScrubber(double x) const {
        return {static_cast<int>(panel().x() + x), pointOf(layout().scrubber).y()};
    }

    /// The distance of the knob to the left edge of the panel; none while the controls are hidden.
    /// Only the knob is above the bar.
    std::optional<double> knob() const {
        constexpr int kTimes = 70;
        constexpr int kAboveBar = 5;
        const QPoint left = pointOnScrubber(kTimes);
        const int width = static_cast<int>(panel().width()) - 2 * kTimes;
        const QImage row = test::screenshotOf({left.x(), left.y() - kAboveBar, width, 1});
        for (int x = 0; x + 1 < row.width(); ++x) {
            if (qGray(row.pixel(x, 0)) > 225 && qGray(row.pixel(x + 1, 0)) > 225) {
                return kTimes + x + 1;
            }
        }
        return std::nullopt;
    }
    void showControls() const {
        test::RealPlayer::moveTo(pointOf(layout().playPauseButton));
        ASSERT_TRUE(test::waitFor([&] { return knob().has_value(); })) << "no controls";
    }
    bool waitForKnobAt(double x) const {
        return test::waitFor([&] { return std::abs(knob().value_or(0) - x) <= 3; });
    }

    std::optional<test::RealPlayer> player_;
};

TEST_F(RealInputTest, playsAndPausesByKeyAndByButton) {
    open({film()});
    test::RealPlayer::press("space");
    EXPECT_TRUE(player_->waitForStreams({false})) << "Space pauses";
    test::RealPlayer::press("space");
    EXPECT_TRUE(player_->waitForStreams({true})) << "Space plays";
    const QPoint button = pointOf(layout().playPauseButton);
    test::RealPlayer::click(button);
    EXPECT_TRUE(player_->waitForStreams({false})) << "the button pauses";
    test::RealPlayer::click(button);
    EXPECT_TRUE(player_->waitForStreams({true})) << "the button plays";
}

TEST_F(RealInputTest, thePictureFollowsTheDraggedKnobAndTheArrowKeys) {
    open({film()});
    pause();
    showControls();
    const double middle = panel().width() / 2;
    test::RealPlayer::moveTo(pointOnScrubber(*knob()));
    test::RealPlayer::xdotool("mousedown 1");
    test::RealPlayer::moveTo(pointOnScrubber(middle));
    EXPECT_TRUE(waitForKnobAt(middle));
    EXPECT_TRUE(waitForTime(140, 160)) << "before the release: " << shownTime();
    test::RealPlayer::xdotool("mouseup 1");
    for (int i = 0; i < 3; ++i) {
        test::RealPlayer::press("Right");
    }
    EXPECT_TRUE(waitForTime(185, 205)) << "three jumps of 15 s: " << shownTime();
    EXPECT_EQ(player_->streams(), std::vector<bool>{false}) << "it is still paused";
}

TEST_F(RealInputTest, aClickBesideTheKnobMovesItAndThePicture) {
    open({film()});
    pause();
    showControls();
    const double middle = panel().width() / 2;
    test::RealPlayer::click(pointOnScrubber(middle));
    ASSERT_TRUE(waitForKnobAt(middle));
    EXPECT_TRUE(waitForTime(140, 160)) << shownTime();
}

TEST_F(RealInputTest, theWheelChangesTheVolume) {
    open({film()});
    ASSERT_EQ(player_->volume(), 100);
    const QPoint picture = pointAt(0.5, 0.4);
    test::RealPlayer::click(picture, 5);
    ASSERT_TRUE(test::waitFor([&] { return player_->volume() < 100; }));
    const int lowered = player_->volume();
    EXPECT_GE(lowered, 85) << "one step";
    test::RealPlayer::click(picture, 4);
    EXPECT_TRUE(test::waitFor([&] { return player_->volume() == 100; })) << player_->volume();
}

TEST_F(RealInputTest, aDoubleClickFillsTheScreenAndTheNextOneRestoresTheWindow) {
    open({film()});
    const QRect before = player_->rect();
    const auto doubleClick = [&] {
        test::RealPlayer::moveTo(pointAt(0.5, 0.4));
        test::RealPlayer::xdotool("click --repeat 2 --delay 20 1");
    };
    doubleClick();
    EXPECT_TRUE(test::waitFor([&] { return player_->rect() == QRect(0, 0, 1280, 800); }));
    EXPECT_TRUE(test::waitFor([] {
        const QImage screen = test::screenshotOf({0, 0, 1280, 800});
        // The film is wider than the screen.
        return qGray(screen.pixel(5, 400)) > 20 && qGray(screen.pixel(640, 795)) < 5;
    })) << "the picture fills the width";
    doubleClick();
    EXPECT_TRUE(test::waitFor([&] { return player_->rect() == before; }));
}

TEST_F(RealInputTest, resizingAtACornerKeepsTheShape) {
    open({film()});
    const QRect before = player_->rect();
    const QPoint corner = before.bottomRight() - QPoint(2, 2);
    test::RealPlayer::moveTo(corner);
    test::RealPlayer::xdotool("mousedown 1");
    // The window manager takes the pointer after the press, so the movement is repeated.
    const bool isLarger = test::waitFor([&] {
        test::RealPlayer::moveTo(corner + QPoint(200, 20));
        return player_->rect().width() > before.width() + 150;
    });
    test::RealPlayer::xdotool("mouseup 1");
    EXPECT_TRUE(isLarger);
    const QRect after = player_->rect();
    EXPECT_NEAR(after.width() * 360.0 / 640, after.height(), 2);
    EXPECT_EQ(after.topLeft(), before.topLeft());
    EXPECT_TRUE(test::waitFor([&] {
        const QImage image = test::screenshotOf(after);
        return qGray(image.pixel(image.width() - 1, image.height() / 2)) > 20 &&
               qGray(image.pixel(10, image.height() - 1)) > 20;
    })) << "the picture fills the window";
}

TEST_F(RealInputTest, theMenuOpensByTheRightButtonAndByItsKeyAndItsSecondItemPausesAndPlays) {
    open({film()});
    const auto choosesPauseOrPlay = [&] {
        const bool isOpen = test::waitFor([&] { return player_->windows().size() == 2; });
        EXPECT_TRUE(isOpen) << "no menu";
        test::RealPlayer::press("Down");
        test::RealPlayer::press("Down");
        test::RealPlayer::press("Return");
        return isOpen && test::waitFor([&] { return player_->windows().size() == 1; });
    };
    test::RealPlayer::click(pointAt(0.5, 0.4), 3);
    EXPECT_TRUE(choosesPauseOrPlay());
    EXPECT_TRUE(player_->waitForStreams({false}));
    test::RealPlayer::press("Menu");
    EXPECT_TRUE(choosesPauseOrPlay());
    EXPECT_TRUE(player_->waitForStreams({true}));
}

TEST_F(RealInputTest, aWindowThatIsClosedEndsItsSoundAndNotThatOfTheOther) {
    open({film(), film()});
    test::RealPlayer::press("ctrl+w");
    ASSERT_TRUE(test::waitFor([&] { return player_->windows().size() == 1; }));
    ASSERT_TRUE(player_->waitForStreams({true})) << player_->streams().size() << " streams";
    const std::string other = player_->windows().front();
    ASSERT_TRUE(test::waitFor(
        [&] { return test::RealPlayer::xdotool("getactivewindow") == other + "\n"; }));
    test::RealPlayer::press("space");
    EXPECT_TRUE(player_->waitForStreams({false})) << "the keys are those of the other window";
    test::RealPlayer::press("ctrl+w");
    EXPECT_TRUE(test::waitFor([&] { return player_->hasEnded(); }));
}

} // namespace
} // namespace zelvane
