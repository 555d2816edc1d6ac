// SPDX-License-Identifier: GPL-3.0-or-later
#include "player_window/subtitles_widget.h"

#include <gtest/gtest.h>

#include <QMouseEvent>
#include <QPaintEvent>

#include "tests/player_window/shown_subtitles.h"
#include "tests/player_window/window_test_support.h"

namespace zelvane {
namespace {

using test::isNear;
using test::screenshot;

constexpr QRgb kVeiledYellow = 0xff7f7f80;
constexpr QRgb kVeiledGreen = 0xff007f80;

class SubtitlesWidgetTest : public testing::Test {
  protected:
    /// A picture of 16 to 9 between bars of 30.
    SubtitlesWidgetTest() {
        window_.setFixedSize(320, 240);
        view_ = std::make_unique<PictureView>(&window_).release();
        view_->setGeometry(window_.rect());
        subtitles_.addTo(*view_);
        subtitles_.setVideoSize(64, 36);
    }

    bool showPicture() {
        return test::showAndWait(window_) && presentPicture() &&
               // Late paints from showing the window must not count for the test.
               test::runUntil(
                   [&] { return isNear(screenshot(window_).pixel(20, 40), test::kRed); });
    }
    bool presentPicture() {
        return test::presentAndWait(*view_->presenter(), test::frameOf(test::fourFields(64, 36)));
    }
    bool showsOnScreen(QPoint point, QRgb color) {
        return test::runUntil([&] { return isNear(screenshot(window_).pixel(point), color); });
    }

    test::ShownSubtitles subtitles_;
    QWidget window_;
    PictureView* view_ = nullptr;
};

TEST_F(SubtitlesWidgetTest, drawsOnThePictureAndNotOnTheBars) {
    ASSERT_TRUE(showPicture());
    subtitles_.show(subtitles_.primary());
    EXPECT_TRUE(showsOnScreen(QPoint(300, 200), kVeiledYellow));
    const QImage image = screenshot(window_);
    EXPECT_TRUE(isNear(image.pixel(168, 128), kVeiledYellow)) << "from the picture's middle";
    EXPECT_TRUE(isNear(image.pixel(319, 209), kVeiledYellow));
    EXPECT_TRUE(isNear(image.pixel(155, 200), test::kBlue));
    EXPECT_EQ(image.pixel(300, 212), test::kBlack);
    subtitles_.remove(subtitles_.primary());
    EXPECT_TRUE(showsOnScreen(QPoint(300, 200), test::kYellow));
}

TEST_F(SubtitlesWidgetTest, subtitlesMoveAboveThePanelAndReturn) {
    const ControlsOverPicture controls{{0, 0, 320, 20}, {100, 180, 200, 40}};
    ASSERT_TRUE(showPicture());
    subtitles_.show(subtitles_.primary());
    EXPECT_TRUE(showsOnScreen(QPoint(300, 200), kVeiledYellow));
    view_->keepSubtitlesClearOf(controls, 20);
    EXPECT_TRUE(showsOnScreen(QPoint(300, 173), test::kYellow));
    EXPECT_TRUE(showsOnScreen(QPoint(300, 171), kVeiledYellow));
    EXPECT_TRUE(showsOnScreen(QPoint(300, 83), kVeiledGreen));
    subtitles_.remove(subtitles_.primary());
    view_->keepSubtitlesClearOf(controls, 0);
    subtitles_.show(subtitles_.primary());
    EXPECT_TRUE(showsOnScreen(QPoint(300, 83), kVeiledGreen)) << "added under the panel";
    view_->keepSubtitlesClearOf(std::nullopt, 0);
    EXPECT_TRUE(showsOnScreen(QPoint(300, 200), kVeiledYellow));
}

TEST_F(SubtitlesWidgetTest, subtitlesMoveBelowTheTitleBarAndReturn) {
    const ControlsOverPicture controls{{0, 0, 320, 40}, {100, 180, 200, 40}};
    ASSERT_TRUE(showPicture());
    subtitles_.show(subtitles_.secondary(), "upper");
    EXPECT_TRUE(showsOnScreen(QPoint(300, 32), kVeiledGreen));
    view_->keepSubtitlesClearOf(controls, 20);
    EXPECT_TRUE(showsOnScreen(QPoint(300, 48), test::kGreen));
    EXPECT_TRUE(showsOnScreen(QPoint(300, 51), kVeiledGreen));
    EXPECT_TRUE(showsOnScreen(QPoint(300, 132), kVeiledYellow));
    view_->keepSubtitlesClearOf(std::nullopt, 20);
    EXPECT_TRUE(showsOnScreen(QPoint(300, 132), test::kYellow));
    EXPECT_TRUE(showsOnScreen(QPoint(300, 32), kVeiledGreen));
}

TEST_F(SubtitlesWidgetTest, followsTheAspectRatioOfThePicture) {
    ASSERT_TRUE(showPicture());
    subtitles_.show(subtitles_.primary());
    subtitles_.setVideoSize(36, 36);
    // A square in the middle, 40 from the left.
    EXPECT_TRUE(showsOnScreen(QPoint(278, 200), kVeiledYellow));
    EXPECT_TRUE(showsOnScreen(QPoint(283, 200), test::kYellow));
    EXPECT_TRUE(isNear(screenshot(window_).pixel(270, 230), 0xff000080, 3)) << "bars of its own";
}

TEST_F(SubtitlesWidgetTest, drawsBothPositionsOverEachOther) {
    ASSERT_TRUE(showPicture());
    subtitles_.show(subtitles_.primary());
    subtitles_.show(subtitles_.secondary());
    EXPECT_TRUE(showsOnScreen(QPoint(300, 200), 0xff3f3fbf));
}

TEST_F(SubtitlesWidgetTest, aNewFrameCopiesSubtitlesWithoutLayout) {
    ASSERT_TRUE(showPicture());
    subtitles_.show(subtitles_.primary());
    ASSERT_TRUE(showsOnScreen(QPoint(300, 200), kVeiledYellow));
    EXPECT_EQ(subtitles_.counts().layouts, 1);
    const int paints = subtitles_.counts().paints;
    constexpr int kFrames = 20;
    for (int i = 0; i < kFrames; ++i) {
        ASSERT_TRUE(presentPicture());
    }
    EXPECT_EQ(subtitles_.counts().layouts, 1);
    EXPECT_EQ(subtitles_.counts().paints, paints + kFrames);
    window_.setFixedSize(640, 480);
    view_->setGeometry(window_.rect());
    ASSERT_TRUE(showsOnScreen(QPoint(600, 400), kVeiledYellow));
    EXPECT_EQ(subtitles_.counts().layouts, 2);
}

/// Collects the repainted region.
class PaintedRegion final : public QObject {
  public:
    QRegion region_;

  protected:
    bool eventFilter(QObject* /*watched*/, QEvent* event) override {
        if (event->type() == QEvent::Paint) {
            region_ += dynamic_cast<QPaintEvent*>(event)->region();
        }
        return false;
    }
};

TEST_F(SubtitlesWidgetTest, repaintsOnlyTheAreaOfASubtitle) {
    ASSERT_TRUE(showPicture());
    PaintedRegion painted;
    test::childOf<SubtitlesWidget>(*view_)->installEventFilter(&painted);
    const QRect quarter(160, 120, 160, 90);
    subtitles_.show(subtitles_.primary());
    ASSERT_TRUE(showsOnScreen(QPoint(300, 200), kVeiledYellow));
    EXPECT_EQ(painted.region_.boundingRect(), quarter);
    subtitles_.remove(subtitles_.primary());
    ASSERT_TRUE(showsOnScreen(QPoint(300, 200), test::kYellow));
    EXPECT_EQ(painted.region_.boundingRect(), quarter);
}

TEST_F(SubtitlesWidgetTest, aNewWidgetShowsTheSubtitlesWhenTheOldOneIsDestroyedLater) {
    ASSERT_TRUE(showPicture());
    subtitles_.show(subtitles_.primary());
    std::unique_ptr<PictureView> old(
        std::exchange(view_, std::make_unique<PictureView>(&window_).release()));
    view_->setGeometry(window_.rect());
    subtitles_.addTo(*view_);
    old.reset();
    view_->show();
    ASSERT_TRUE(presentPicture());
    EXPECT_TRUE(showsOnScreen(QPoint(300, 200), kVeiledYellow));
    subtitles_.remove(subtitles_.primary());
    EXPECT_TRUE(showsOnScreen(QPoint(300, 200), test::kYellow));
}

/// Remembers where it was clicked.
class ClickedWidget final : public QWidget {
  public:
    using QWidget::QWidget;
    std::vector<QPoint> clicks_;

  protected:
    void mousePressEvent(QMouseEvent* event) override { clicks_.push_back(event->pos()); }
};

TEST_F(SubtitlesWidgetTest, aClickOnASubtitleReachesTheViewBelow) {
    auto* below = std::make_unique<ClickedWidget>(nullptr).release();
    PictureView view(nullptr);
    view.resize(320, 240);
    view.addOverlay(below);
    subtitles_.addTo(view);
    subtitles_.show(subtitles_.primary());
    subtitles_.show(subtitles_.secondary());
    ASSERT_TRUE(test::showAndWait(view));
    const QPointF place(300, 200);
    QMouseEvent press(QEvent::MouseButtonPress, place, view.mapToGlobal(place), Qt::LeftButton,
                      Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(view.windowHandle(), &press);
    EXPECT_EQ(below->clicks_, std::vector{QPoint(300, 200)});
    EXPECT_EQ(view.childAt(300, 200), below);
}

} // namespace
} // namespace zelvane
