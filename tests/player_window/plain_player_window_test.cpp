// SPDX-License-Identifier: GPL-3.0-or-later
#include "player_window/plain_player_window.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QDropEvent>
#include <QFile>
#include <QKeyEvent>
#include <QLabel>
#include <QMimeData>
#include <QUrl>

#include "player_window/notice_widget.h"
#include "player_window/picture_view.h"
#include "tests/player_window/window_test_support.h"
#include "tests/support/clips.h"

namespace zelvane {
namespace {

class PlainPlayerWindowTest : public testing::Test {
  protected:
    std::unique_ptr<PlainPlayerWindow> makeWindow(std::optional<CGSize> picture) {
        PlainPlayerWindow::Callbacks callbacks;
        callbacks.onTogglePlay = [this] { ++toggleCount_; };
        callbacks.onClose = [this] { ++closeCount_; };
        callbacks.onCycleSubtitles = [this](SubtitlesPosition position) {
            cycled_.push_back(position);
        };
        callbacks.canAddSubtitles = [this] { return canAdd_; };
        callbacks.onAddSubtitles = [this](const URL& url) { added_.push_back(url); };
        return std::make_unique<PlainPlayerWindow>("film.mkv", picture, std::move(callbacks));
    }

    static void press(QWidget& window, Qt::Key key, bool isRepeated = false,
                      Qt::KeyboardModifiers modifiers = Qt::NoModifier) {
        QKeyEvent event(QEvent::KeyPress, key, modifiers, {}, isRepeated);
        QCoreApplication::sendEvent(&window, &event);
    }

    /// Whether the window takes what is dragged over it, as a copy.
    static bool dragOver(QWidget& window, const QMimeData& data,
                         Qt::DropActions actions = Qt::CopyAction | Qt::MoveAction) {
        QDragEnterEvent event(QPoint(5, 5), actions, &data, Qt::LeftButton, Qt::NoModifier);
        QCoreApplication::sendEvent(&window, &event);
        return event.isAccepted() && event.dropAction() == Qt::CopyAction;
    }
    static void drop(QWidget& window, const QMimeData& data) {
        dragOver(window, data);
        QDropEvent event(QPointF(5, 5), Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
        QCoreApplication::sendEvent(&window, &event);
    }

    int toggleCount_ = 0;
    int closeCount_ = 0;
    std::vector<SubtitlesPosition> cycled_;
    bool canAdd_ = true;
    std::vector<URL> added_;
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

TEST_F(PlainPlayerWindowTest, jGoesThroughTheSubtitlesAtTheBottomAndShiftJAtTheTop) {
    const auto window = makeWindow(CGSize{640, 360});
    press(*window, Qt::Key_J);
    press(*window, Qt::Key_J, false, Qt::ShiftModifier);
    press(*window, Qt::Key_J, true);
    press(*window, Qt::Key_J, false, Qt::ControlModifier);
    press(*window, Qt::Key_J, false, Qt::ShiftModifier | Qt::ControlModifier);
    press(*window, Qt::Key_Space, false, Qt::ShiftModifier);
    EXPECT_EQ(cycled_, (std::vector{SubtitlesPosition::primary, SubtitlesPosition::secondary}));
    EXPECT_EQ(toggleCount_, 0);
}

TEST_F(PlainPlayerWindowTest, aFileOfSubtitlesMayBeDroppedAndNothingElse) {
    const test::TemporaryFolder folder;
    ASSERT_TRUE(QDir(QString::fromStdString(folder.path().string())).mkdir("folder.srt"));
    const auto file = [&](const char* name) {
        return QUrl::fromLocalFile(QString::fromStdString((folder.path() / name).string()));
    };
    const struct {
        QList<QUrl> urls;
        bool isTaken;
    } cases[] = {
        {{file("a film.srt")}, true},
        {{file("film.de.ass")}, true},
        {{file("film.srt"), file("film.mkv")}, true},
        {{file("film.SRT")}, false},
        {{file("film.mkv")}, false},
        {{file("srt")}, false},
        {{file(".srt")}, false},
        {{file("folder.srt")}, false},
        {{QUrl("http://host/film.srt")}, false},
        {{}, false},
    };
    for (const auto& [urls, isTaken] : cases) {
        const auto window = makeWindow(CGSize{640, 360});
        added_.clear();
        QMimeData data;
        data.setUrls(urls);
        EXPECT_EQ(dragOver(*window, data), isTaken) << urls.value(0).toString().toStdString();
        drop(*window, data);
        EXPECT_EQ(added_.size(), isTaken ? 1U : 0U);
    }
    QMimeData data;
    data.setUrls({file("a film.srt")});
    const auto window = makeWindow(std::nullopt);
    drop(*window, data);
    ASSERT_EQ(added_.size(), 1U) << "sound alone takes it too";
    EXPECT_EQ(added_.front().path(), (folder.path() / "a film.srt").string());
}

TEST_F(PlainPlayerWindowTest, aDropIsRefusedWhileAFileIsBeingAddedOrThatAllowsNoCopy) {
    const auto window = makeWindow(CGSize{640, 360});
    QMimeData data;
    data.setUrls({QUrl::fromLocalFile("/film.srt")});
    EXPECT_FALSE(dragOver(*window, data, Qt::MoveAction));
    EXPECT_TRUE(dragOver(*window, data));
    canAdd_ = false;
    EXPECT_FALSE(dragOver(*window, data));
    drop(*window, data);
    EXPECT_TRUE(added_.empty());
}

TEST_F(PlainPlayerWindowTest, aNoticeLiesOverThePictureForAMoment) {
    const auto window = makeWindow(CGSize{640, 360});
    ASSERT_TRUE(test::showAndWait(*window));
    ASSERT_TRUE(
        test::presentAndWait(*window->presenter(), test::frameOf(test::fourFields(64, 36))));
    window->showNotice("Subtitles (bottom): English");
    auto* notice = test::childOf<NoticeWidget>(*window);
    ASSERT_NE(notice, nullptr);
    EXPECT_TRUE(notice->isVisible());
    EXPECT_TRUE(test::runUntil([&] {
        return !test::isNear(test::screenshot(*window).pixel(30, 105), test::kRed, 60);
    })) << "dark, over red";
    window->resize(200, 120);
    EXPECT_LE(notice->geometry().right(), 200);
    EXPECT_TRUE(test::runUntil([&] { return !notice->isVisible(); }));
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
