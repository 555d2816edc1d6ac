// SPDX-License-Identifier: GPL-3.0-or-later
#include "application/app_delegate.h"

#include <fstream>

#include <QAbstractButton>
#include <QContextMenuEvent>
#include <QDropEvent>
#include <QFileDialog>
#include <QMenu>
#include <QMimeData>
#include <QTimer>
#include <QUrl>

#include <gmock/gmock.h>

#include "application/qt_main_queue.h"
#include "player_window/controls/control_button.h"
#include "player_window/start/recent_file_row.h"
#include "player_window/start/start_view.h"
#include "player_window/window/media_player_window.h"
#include "tests/player_window/window_test_support.h"
#include "tests/support/clips.h"

namespace zelvane {
namespace {

template <class Widget>
Widget* shown() {
    for (auto* widget : QApplication::topLevelWidgets()) {
        auto* cast = dynamic_cast<Widget*>(widget);
        if (cast != nullptr && cast->isVisible()) {
            return cast;
        }
    }
    return nullptr;
}

/// The application in the event loop of the program.
class AppDelegateTest : public testing::Test {
  protected:
    void SetUp() override {
        dispatch::setMainQueue(std::make_shared<QtMainQueue>());
        delegate_ = std::make_unique<AppDelegate>(nullptr, [this] { ++preferences_; });
    }
    void TearDown() override {
        delegate_ = nullptr;
        test::runUntil([] { return dispatch::waitForQuiescence(std::chrono::milliseconds(5)); });
        dispatch::setMainQueue(nullptr);
        std::filesystem::remove(RecentFiles::defaultPath());
    }

    /// Runs the event loop until the application quits.
    void run(const std::vector<URL>& files, const std::function<void()>& use) {
        const auto start = [&] {
            delegate_->applicationDidFinishLaunching(files);
            use();
        };
        QMetaObject::invokeMethod(qApp, start, Qt::QueuedConnection);
        QTimer timeout;
        timeout.singleShot(std::chrono::seconds(100), [] { QCoreApplication::exit(1); });
        EXPECT_EQ(QCoreApplication::exec(), 0) << "it did not quit";
    }

    static StartView* startView() {
        auto* window = shown<MediaPlayerWindow>();
        return window == nullptr ? nullptr : dynamic_cast<StartView*>(window->contentView());
    }
    static bool waitForStart(bool isShown) {
        return test::runUntil([&] { return (startView() != nullptr) == isShown; });
    }
    static bool waitForFilm() {
        return test::runUntil([] { return shown<MediaPlayerWindow>() != nullptr; }) &&
               waitForStart(false);
    }
    static void drop(QWidget& target, const std::filesystem::path& path) {
        QMimeData data;
        data.setUrls({QUrl::fromLocalFile(QString::fromStdString(path.string()))});
        QDragEnterEvent enter({5, 5}, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
        QCoreApplication::sendEvent(&target, &enter);
        EXPECT_TRUE(enter.isAccepted());
        QDropEvent event({5, 5}, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
        QCoreApplication::sendEvent(&target, &event);
    }
    static std::vector<RecentFileRow*> rows() {
        std::vector<RecentFileRow*> rows;
        for (auto* row : startView()->findChildren<RecentFileRow*>()) {
            if (row->isVisible()) {
                rows.push_back(row);
            }
        }
        return rows;
    }
    static bool waitForRows(std::size_t count) {
        return test::runUntil([&] { return rows().size() == count; });
    }

    const std::filesystem::path film_ =
        test::madeClip("start.mkv", test::lavfi("color=blue:s=64x48:d=9") + "-c:v mpeg4");
    std::unique_ptr<AppDelegate> delegate_;
    int preferences_ = 0;
};

TEST_F(AppDelegateTest, startsWithTheStartWindowAndReturnsToIt) {
    run({}, [&] {
        ASSERT_TRUE(waitForStart(true));
        auto* panel = shown<QFileDialog>();
        ASSERT_NE(panel, nullptr);
        EXPECT_EQ(panel->parentWidget(), startView()->window());
        delegate_->open({URL::fromPath(film_)});
        EXPECT_TRUE(waitForFilm());
        EXPECT_EQ(shown<QFileDialog>(), nullptr) << "opening a file dismisses the panel";
        shown<MediaPlayerWindow>()->close();
        EXPECT_TRUE(waitForStart(true));
        EXPECT_EQ(shown<QFileDialog>(), nullptr) << "the panel comes once";
        ASSERT_TRUE(waitForRows(1));
        rows()[0]->click();
        EXPECT_TRUE(waitForFilm());
        shown<MediaPlayerWindow>()->close();
        EXPECT_TRUE(waitForStart(true));
        drop(*startView(), film_);
        EXPECT_TRUE(waitForFilm());
        shown<MediaPlayerWindow>()->close();
        EXPECT_TRUE(waitForStart(true));
        shown<MediaPlayerWindow>()->close();
    });
}

TEST_F(AppDelegateTest, aFileThatWasOpenedElsewhereEndsTheProgramWithItsWindow) {
    run({URL::fromPath(film_)}, [] {
        EXPECT_TRUE(waitForFilm());
        shown<MediaPlayerWindow>()->close();
    });
    EXPECT_FALSE(delegate_->documents().didFail());
}

TEST_F(AppDelegateTest, removesRecentFilesAndClearsThem) {
    const test::TemporaryFolder folder;
    const RecentFileList list(RecentFiles::defaultPath(), "Zelvane Player", "zelvane-player %u");
    for (const char* name : {"a.mkv", "b.mkv", "c.mkv"}) {
        std::ofstream(folder.path() / name) << "film";
        list.add(URL::fromPath(folder.path() / name), "video/x-matroska");
    }
    run({}, [&] {
        ASSERT_TRUE(waitForStart(true) && waitForRows(3));
        rows()[1]->findChild<ControlButton*>()->click();
        EXPECT_TRUE(waitForRows(2));
        EXPECT_EQ(rows()[1]->accessibleName(), "a.mkv");
        EXPECT_TRUE(test::runUntil([&] { return list.files(9).size() == 2; }));
        shown<QFileDialog>()->reject();
        EXPECT_TRUE(delegate_->activateAction("preferences"));
        EXPECT_EQ(preferences_, 1);
        auto* window = startView()->window();
        QContextMenuEvent event(QContextMenuEvent::Keyboard, {}, window->mapToGlobal(QPoint()));
        QCoreApplication::sendEvent(window, &event);
        auto* menu = window->findChild<QMenu*>();
        ASSERT_NE(menu, nullptr);
        menu->actions().at(1)->menu()->actions().last()->trigger();
        EXPECT_TRUE(waitForRows(0));
        EXPECT_TRUE(test::runUntil([&] { return list.files(9).empty(); }));
        menu->close();
        EXPECT_TRUE(delegate_->activateAction("quit"));
    });
}

TEST_F(AppDelegateTest, thePanelOpensInTheFolderOfTheLastChoice) {
    run({}, [&] {
        ASSERT_TRUE(waitForStart(true));
        auto* panel = shown<QFileDialog>();
        panel->setDirectory(QString::fromStdString(film_.parent_path().string()));
        panel->selectFile("start.mkv");
        QMetaObject::invokeMethod(panel, "accept");
        EXPECT_TRUE(waitForFilm());
        EXPECT_TRUE(delegate_->activateAction("open"));
        panel = shown<QFileDialog>();
        ASSERT_NE(panel, nullptr);
        EXPECT_EQ(panel->directory().path().toStdString(), film_.parent_path().string());
        EXPECT_THAT(panel->nameFilters().last().toStdString(), testing::HasSubstr("(*)"));
        panel->reject();
        shown<MediaPlayerWindow>()->close();
        EXPECT_TRUE(waitForStart(true));
        shown<MediaPlayerWindow>()->close();
    });
}

} // namespace
} // namespace zelvane
