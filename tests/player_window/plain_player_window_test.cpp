// SPDX-License-Identifier: GPL-3.0-or-later
#include "player_window/plain_player_window.h"

#include <gtest/gtest.h>

#include <QKeyEvent>
#include <QLabel>

#include "player_window/picture_view.h"
#include "tests/player_window/window_test_support.h"

namespace zelvane {
namespace {

class PlainPlayerWindowTest : public testing::Test {
  protected:
    std::unique_ptr<PlainPlayerWindow> makeWindow(std::optional<CGSize> picture) {
        return std::make_unique<PlainPlayerWindow>(
            "film.mkv", picture,
            PlainPlayerWindow::Callbacks{[this] { ++toggleCount_; }, [this] { ++closeCount_; }});
    }

    static void press(QWidget& window, Qt::Key key, bool isRepeated = false) {
        QKeyEvent event(QEvent::KeyPress, key, Qt::NoModifier, {}, isRepeated);
        QCoreApplication::sendEvent(&window, &event);
    }

    int toggleCount_ = 0;
    int closeCount_ = 0;
};

TEST_F(PlainPlayerWindowTest, itStartsAtThePicturesOwnSizeWithinTheScreen) {
    EXPECT_EQ(makeWindow(CGSize{640, 360})->size(), QSize(640, 360));
    EXPECT_EQ(makeWindow(CGSize{3840, 2160})->size(), QSize(1280, 720));
    EXPECT_EQ(makeWindow(CGSize{1080, 1920})->size(), QSize(450, 800));
    EXPECT_EQ(makeWindow(CGSize{640, 360})->windowTitle(), "film.mkv");
}

TEST_F(PlainPlayerWindowTest, spaceTogglesPlayOncePerPress) {
    const auto window = makeWindow(CGSize{640, 360});
    press(*window, Qt::Key_Space);
    press(*window, Qt::Key_Space, true);
    EXPECT_EQ(toggleCount_, 1);
}

TEST_F(PlainPlayerWindowTest, fTogglesFullScreenAndEscOnlyLeavesIt) {
    const auto window = makeWindow(CGSize{640, 360});
    ASSERT_TRUE(test::showAndWait(*window));
    press(*window, Qt::Key_Escape);
    EXPECT_FALSE(window->isFullScreen());
    EXPECT_EQ(closeCount_, 0);
    press(*window, Qt::Key_F);
    EXPECT_TRUE(window->isFullScreen());
    press(*window, Qt::Key_Escape);
    EXPECT_FALSE(window->isFullScreen());
    press(*window, Qt::Key_F);
    press(*window, Qt::Key_F);
    EXPECT_FALSE(window->isFullScreen());
}

TEST_F(PlainPlayerWindowTest, closingIsToldOnce) {
    const auto window = makeWindow(CGSize{640, 360});
    ASSERT_TRUE(test::showAndWait(*window));
    window->close();
    window->close();
    EXPECT_EQ(closeCount_, 1);
}

TEST_F(PlainPlayerWindowTest, thePictureFollowsTheWindowsSizeOnBlack) {
    const auto window = makeWindow(CGSize{640, 360});
    ASSERT_TRUE(test::showAndWait(*window));
    ASSERT_TRUE(
        test::presentAndWait(*window->presenter(), test::frameOf(test::fourFields(64, 36))));
    EXPECT_TRUE(test::isNear(test::screenshot(*window).pixel(1, 1), test::kRed));
    window->resize(640, 480);
    EXPECT_TRUE(test::runUntil([&] {
        const QImage image = test::screenshot(*window);
        return image.height() == 480 && image.pixel(1, 1) == test::kBlack &&
               image.pixel(638, 478) == test::kBlack &&
               test::isNear(image.pixel(1, 61), test::kRed) &&
               test::isNear(image.pixel(638, 418), test::kYellow);
    }));
}

TEST_F(PlainPlayerWindowTest, soundAloneShowsTheNameOfTheFileOnADarkGround) {
    const auto window = makeWindow(std::nullopt);
    EXPECT_EQ(window->presenter(), nullptr);
    EXPECT_EQ(window->pictureView(), nullptr);
    ASSERT_TRUE(test::showAndWait(*window));
    ASSERT_NE(window->findChild<QLabel*>(), nullptr);
    EXPECT_EQ(window->findChild<QLabel*>()->text(), "film.mkv");
    EXPECT_TRUE(test::runUntil(
        [&] { return test::isNear(test::screenshot(*window).pixel(2, 2), 0xff24262a); }));
}

} // namespace
} // namespace zelvane
