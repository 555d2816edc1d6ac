// SPDX-License-Identifier: GPL-3.0-or-later
#include "player_window/video_widget.h"

#include <thread>

#include <gtest/gtest.h>

#include <QOpenGLWidget>
#include <QPainter>

#include "player_window/picture_view.h"
#include "tests/player_window/shown_subtitles.h"
#include "tests/player_window/window_test_support.h"

namespace zelvane {
namespace {

using test::fourFields;
using test::frameOf;
using test::isNear;
using test::presentAndWait;
using test::screenshot;
using test::showAndWait;

constexpr QRgb kHalfGreen = 0xff007f00;

/// Half see-through blue over the left half.
class BlueVeil final : public QWidget {
  public:
    using QWidget::QWidget;

  protected:
    void paintEvent(QPaintEvent* /*event*/) override {
        QPainter(this).fillRect(0, 0, width() / 2, height(), QColor(0, 0, 255, 128));
    }
};

/// Runs for each kind of surface.
class VideoWidgetTest : public testing::TestWithParam<bool> {
  protected:
    void SetUp() override {
        if (GetParam()) {
            qputenv("ZELVANE_ALLOW_SOFTWARE_GL", "1");
        } else {
            qunsetenv("ZELVANE_ALLOW_SOFTWARE_GL");
        }
        window_ = std::make_unique<QWidget>();
        window_->setFixedSize(320, 240);
        view_ = std::make_unique<PictureView>(window_.get()).release();
        view_->setGeometry(window_->rect());
    }

    std::unique_ptr<QWidget> window_;
    PictureView* view_ = nullptr;
};

void expectFields(const QImage& image, QRect place, std::array<QRgb, 4> colors) {
    const int x1 = place.x() + place.width() / 4;
    const int x2 = place.x() + place.width() * 3 / 4;
    const int y1 = place.y() + place.height() / 4;
    const int y2 = place.y() + place.height() * 3 / 4;
    const std::array<QPoint, 4> points{QPoint(x1, y1), QPoint(x2, y1), QPoint(x1, y2),
                                       QPoint(x2, y2)};
    for (std::size_t i = 0; i < points.size(); ++i) {
        EXPECT_TRUE(isNear(image.pixel(points[i]), colors[i]))
            << "field " << i << " is " << std::hex << image.pixel(points[i]);
    }
}

TEST_P(VideoWidgetTest, usesTheGPUOnlyWhereThereIsOne) {
    EXPECT_EQ(view_->findChild<QOpenGLWidget*>() != nullptr, GetParam());
}

TEST_P(VideoWidgetTest, showsThePictureWithItsAspectRatioOnBlack) {
    ASSERT_TRUE(showAndWait(*window_));
    ASSERT_TRUE(presentAndWait(*view_->presenter(), frameOf(fourFields(64, 36))));
    const QImage image = screenshot(*window_);
    expectFields(image, {0, 30, 320, 180}, {test::kRed, test::kGreen, test::kBlue, test::kYellow});
    EXPECT_EQ(image.pixel(160, 28), test::kBlack);
    EXPECT_EQ(image.pixel(160, 211), test::kBlack);
    EXPECT_TRUE(isNear(image.pixel(20, 31), test::kRed));
    EXPECT_TRUE(isNear(image.pixel(20, 208), test::kBlue));
}

TEST_P(VideoWidgetTest, appliesTheTransform) {
    ASSERT_TRUE(showAndWait(*window_));
    const auto buffer = fourFields(64, 36);
    ASSERT_TRUE(presentAndWait(*view_->presenter(), frameOf(buffer, {0, 1, -1, 0, 36, 0})));
    expectFields(screenshot(*window_), {92, 0, 135, 240},
                 {test::kBlue, test::kRed, test::kYellow, test::kGreen});
    ASSERT_TRUE(presentAndWait(*view_->presenter(), frameOf(buffer, {-1, 0, 0, 1, 64, 0})));
    expectFields(screenshot(*window_), {0, 30, 320, 180},
                 {test::kGreen, test::kRed, test::kYellow, test::kBlue});
    EXPECT_EQ(screenshot(*window_).pixel(160, 10), test::kBlack) << "left over from before";
}

TEST_P(VideoWidgetTest, removingTheImageLeavesBlack) {
    ASSERT_TRUE(showAndWait(*window_));
    ASSERT_TRUE(presentAndWait(*view_->presenter(), frameOf(fourFields(64, 36))));
    view_->presenter()->removeImage();
    EXPECT_TRUE(test::runUntil([&] { return screenshot(*window_).pixel(80, 75) == test::kBlack; }));
}

TEST_P(VideoWidgetTest, acceptsFramesFromAnyThread) {
    ASSERT_TRUE(showAndWait(*window_));
    std::atomic<int> lastShown{0};
    std::thread layer([&, presenter = view_->presenter()] {
        for (int i = 1; i <= 50; ++i) {
            const auto frame = frameOf(fourFields(64, 36));
            presenter->prepare(frame);
            presenter->present(frame, [&lastShown, i](HostTime) { lastShown = i; });
        }
    });
    EXPECT_TRUE(test::runUntil([&] { return lastShown == 50; }));
    layer.join();
    expectFields(screenshot(*window_), {0, 30, 320, 180},
                 {test::kRed, test::kGreen, test::kBlue, test::kYellow});
}

TEST_P(VideoWidgetTest, blendsTranslucentWidgets) {
    view_->addOverlay(std::make_unique<BlueVeil>(nullptr).release());
    ASSERT_TRUE(showAndWait(*window_));
    ASSERT_TRUE(presentAndWait(*view_->presenter(), frameOf(fourFields(64, 36))));
    const std::array<QRgb, 4> veiled{0xff7f0080, test::kGreen, test::kBlue, test::kYellow};
    expectFields(screenshot(*window_), {0, 30, 320, 180}, veiled);
    expectFields(window_->grab().toImage(), {0, 30, 320, 180}, veiled);
    // A new picture under an unchanged overlay.
    ASSERT_TRUE(
        presentAndWait(*view_->presenter(), frameOf(fourFields(64, 36), {-1, 0, 0, 1, 64, 0})));
    expectFields(screenshot(*window_), {0, 30, 320, 180},
                 {kHalfGreen | 0x80, test::kRed, 0xff7f7f80, test::kBlue});
}

TEST_P(VideoWidgetTest, movesPictureAndSubtitlesToAnotherWindowAndBack) {
    test::ShownSubtitles subtitles;
    subtitles.addTo(*view_);
    subtitles.setVideoSize(64, 36);
    ASSERT_TRUE(showAndWait(*window_));
    ASSERT_TRUE(presentAndWait(*view_->presenter(), frameOf(fourFields(64, 36))));
    subtitles.show(subtitles.primary());
    subtitles.show(subtitles.secondary());
    const std::array<QRgb, 4> veiled{test::kRed, test::kGreen, test::kBlue, 0xff3f3fbf};
    ASSERT_TRUE(
        test::runUntil([&] { return isNear(screenshot(*window_).pixel(300, 200), veiled[3]); }));
    const QImage before = screenshot(*window_);

    QWidget other;
    other.setGeometry(400, 300, 320, 240);
    view_->setParent(&other);
    view_->show();
    ASSERT_TRUE(showAndWait(other));
    EXPECT_TRUE(test::runUntil([&] { return screenshot(other) == before; }));
    EXPECT_EQ(subtitles.counts().layouts, 2) << "the same size: nothing is laid out again";
    subtitles.remove(subtitles.secondary());
    ASSERT_TRUE(
        presentAndWait(*view_->presenter(), frameOf(fourFields(64, 36), {-1, 0, 0, 1, 64, 0})));
    expectFields(screenshot(other), {0, 30, 320, 180},
                 {test::kGreen, test::kRed, test::kYellow, test::kBlue});
    subtitles.show(subtitles.secondary());
    ASSERT_TRUE(presentAndWait(*view_->presenter(), frameOf(fourFields(64, 36))));

    view_->setParent(window_.get());
    view_->show();
    EXPECT_TRUE(test::runUntil([&] { return screenshot(*window_) == before; }));
    expectFields(screenshot(*window_), {0, 30, 320, 180}, veiled);
    window_.reset();
}

TEST_P(VideoWidgetTest, aPresenterMayOutliveItsWidget) {
    ASSERT_TRUE(showAndWait(*window_));
    const auto presenter = view_->presenter();
    ASSERT_TRUE(presentAndWait(*presenter, frameOf(fourFields(64, 36))));
    bool isShown = false;
    presenter->present(frameOf(fourFields(64, 36)), [&](HostTime) { isShown = true; });
    window_.reset();
    presenter->present(frameOf(fourFields(64, 36)), [&](HostTime) { isShown = true; });
    presenter->removeImage();
    QCoreApplication::processEvents();
    EXPECT_FALSE(isShown);
}

TEST(VideoWidgetFailure, theCPUDrawsWhenTheGPUFails) {
    qputenv("ZELVANE_ALLOW_SOFTWARE_GL", "1");
    QWidget window;
    window.setFixedSize(320, 240);
    auto* view = std::make_unique<PictureView>(&window).release();
    qunsetenv("ZELVANE_ALLOW_SOFTWARE_GL");
    view->setGeometry(window.rect());
    view->addOverlay(std::make_unique<BlueVeil>(nullptr).release());
    int replacements = 0;
    QObject::connect(view, &PictureView::didReplacePresenter, [&] { ++replacements; });
    ASSERT_TRUE(showAndWait(window));
    ASSERT_TRUE(presentAndWait(*view->presenter(), frameOf(fourFields(64, 36))));
    EXPECT_EQ(replacements, 0);
    // Wider than a texture can be.
    view->presenter()->present(frameOf(fourFields(40'000, 2)), {});
    ASSERT_TRUE(test::runUntil([&] { return replacements == 1; }));
    ASSERT_TRUE(presentAndWait(*view->presenter(), frameOf(fourFields(64, 36))));
    expectFields(screenshot(window), {0, 30, 320, 180},
                 {0xff7f0080, test::kGreen, test::kBlue, test::kYellow});
    EXPECT_EQ(view->findChild<QOpenGLWidget*>(), nullptr);
}

std::string surfaceName(const testing::TestParamInfo<bool>& surface) {
    return surface.param ? "placebo" : "raster";
}

INSTANTIATE_TEST_SUITE_P(Surfaces, VideoWidgetTest, testing::Bool(), surfaceName);

} // namespace
} // namespace zelvane
