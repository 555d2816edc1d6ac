// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <QDir>
#include <QDropEvent>
#include <QLabel>
#include <QMimeData>
#include <QUrl>

#include "player_window/controls/controls_view.h"
#include "player_window/dropped_subtitles.h"
#include "player_window/notice_widget.h"
#include "player_window/views/external_playback_indicator_view.h"
#include "player_window/views/floating_controls.h"
#include "player_window/views/media_player_view.h"
#include "player_window/views/player_view_layout.h"
#include "player_window/views/video_player_view.h"
#include "player_window/window/media_player_window.h"
#include "tests/player_window/shown_subtitles.h"
#include "tests/player_window/window_test_support.h"
#include "tests/support/clips.h"

namespace zelvane {
namespace {

TEST(DroppedSubtitles, areTheFirstFileWithAnExtensionOfSubtitles) {
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
        QMimeData data;
        data.setUrls(urls);
        const auto url = droppedSubtitles(data);
        EXPECT_EQ(url.has_value(), isTaken) << urls.value(0).toString().toStdString();
        if (url) {
            EXPECT_EQ(url->path(), urls.front().toLocalFile().toStdString());
        }
    }
}

/// Counts the files that it is given.
class SubtitlesTaker final : public MediaPlayerViewDraggingDelegate {
  public:
    bool isAddingExternalSubtitles() const override { return isAdding; }
    void addExternalSubtitles(const URL& /*url*/) override { ++count; }
    void openDroppedMedia(const std::vector<URL>& /*urls*/) override {}

    bool isAdding = false;
    int count = 0;
};

/// Whether the view takes what is dropped on it, as a copy.
bool dropOn(QWidget& view, Qt::DropActions actions) {
    QMimeData data;
    data.setUrls({QUrl::fromLocalFile("/film.srt")});
    QDragEnterEvent enter(QPoint(5, 5), actions, &data, Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(&view, &enter);
    QDropEvent drop(QPointF(5, 5), actions, &data, Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(&view, &drop);
    return enter.isAccepted() && enter.dropAction() == Qt::CopyAction;
}

TEST(MediaPlayerView, refusesADropWhileAFileIsAddedOrWithoutCopy) {
    SubtitlesTaker taker;
    MediaPlayerView view(nullptr);
    EXPECT_FALSE(dropOn(view, Qt::CopyAction)) << "without a delegate";
    view.setDraggingDelegate(&taker);
    EXPECT_TRUE(dropOn(view, Qt::CopyAction | Qt::MoveAction));
    EXPECT_FALSE(dropOn(view, Qt::MoveAction));
    taker.isAdding = true;
    EXPECT_FALSE(dropOn(view, Qt::CopyAction));
    EXPECT_EQ(taker.count, 1);
}

TEST(NoticeWidget, isVisibleForAMomentAndInsideItsRoom) {
    QWidget window;
    window.resize(640, 360);
    auto* notice =
        std::make_unique<NoticeWidget>(NoticeWidget::Place::overPicture, &window).release();
    notice->setRoom({16, 52, 600, 300});
    ASSERT_TRUE(test::showAndWait(window));
    notice->showText("Subtitles (bottom): English");
    EXPECT_TRUE(notice->isVisible());
    EXPECT_LT(notice->width(), 400);
    const QRect narrow(16, 52, 80, 60);
    notice->setRoom(narrow);
    EXPECT_TRUE(narrow.contains(notice->geometry()));
    EXPECT_TRUE(test::runUntil([&] { return !notice->isVisible(); }));
}

TEST(NoticeWidget, coversNoControlOfAWindowForSoundAlone) {
    MediaPlayerWindow window(TitleBar::Ground::plain, /*isResizable=*/false);
    window.setContentSizes({}, audioPlayerSize());
    window.showCentred();
    window.showNotice("Audio: English: “Surround sound with a long description of it”");
    const QRect notice = window.notice().geometry();
    EXPECT_GT(notice.width(), 150);
    EXPECT_LE(notice.bottom(), kTitleBarHeight);
    for (const auto* button : window.titleBar().buttons()) {
        EXPECT_FALSE(notice.intersects(button->geometry()))
            << button->accessibleName().toStdString();
    }
}

TEST(VideoPlayerView, leavesAnIndicatorWhileThePictureIsInAnotherWindow) {
    test::ShownSubtitles subtitles;
    QWidget window;
    QWidget other;
    window.resize(640, 480);
    auto* view = std::make_unique<VideoPlayerView>(
                     std::make_unique<ControlsView>(60, ControlsContent{}, nullptr).release(),
                     subtitles.primaryView(), subtitles.secondaryView(), &window)
                     .release();
    view->setGeometry(window.rect());
    ASSERT_TRUE(test::showAndWait(window));
    ASSERT_TRUE(test::presentAndWait(*view->presenter(), test::frameOf(test::fourFields(64, 48))));
    PictureView& picture = view->videoViewForPictureInPicture();

    view->pictureInPictureWillStart();
    picture.setParent(&other);
    EXPECT_TRUE(test::runUntil([&] {
        const QImage image = test::screenshot(window);
        return image.pixel(10, 10) == test::kBlack && image.pixel(630, 400) == test::kBlack;
    }));
    const auto* indicator = test::childOf<ExternalPlaybackIndicatorView>(*view);
    ASSERT_NE(indicator, nullptr);
    QRect column;
    for (const auto* label : indicator->findChildren<QLabel*>()) {
        EXPECT_NEAR(label->geometry().center().x(), 320, 1);
        column |= label->geometry();
    }
    EXPECT_NEAR(column.center().y(), 240, 2);

    view->pictureInPictureDidStop();
    EXPECT_EQ(test::childOf<ExternalPlaybackIndicatorView>(*view), nullptr);
    EXPECT_TRUE(test::runUntil(
        [&] { return test::isNear(test::screenshot(window).pixel(10, 10), test::kRed); }));
    EXPECT_TRUE(view->floatingControlsView().isAncestorOf(view->childAt(320, 420)))
        << "the controls are in front";
}

} // namespace
} // namespace zelvane
