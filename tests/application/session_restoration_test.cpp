// SPDX-License-Identifier: GPL-3.0-or-later
#include <algorithm>
#include <fstream>

#include <QFileDialog>
#include <QImage>
#include <QMessageBox>
#include <QProcess>

#include <fmt/format.h>
#include <gmock/gmock.h>

#include "application/document_controller.h"
#include "application/qt_main_queue.h"
#include "player_window/window/media_player_window.h"
#include "tests/player_window/window_test_support.h"
#include "tests/support/clips.h"

namespace zelvane {
namespace {

/// A film that has `color` from its second second on.
std::string filmOf(const std::string& color, const std::string& size) {
    return test::madeClip(
               "session-" + color + ".mkv",
               test::lavfi(fmt::format("color={}:s={}:r=25:d=60", color, size)) +
                   "-vf \"drawbox=color=black:t=fill:enable='lt(t,1)'\" -c:v mpeg4 -q:v 2")
        .string();
}

/// Windows in this process, in successive runs of the application.
class SessionRestoration : public testing::Test {
  public:
    SessionRestoration() { dispatch::setMainQueue(std::make_shared<QtMainQueue>()); }
    ~SessionRestoration() override {
        end();
        dispatch::setMainQueue(nullptr);
    }
    SessionRestoration(const SessionRestoration&) = delete;
    SessionRestoration& operator=(const SessionRestoration&) = delete;

  protected:
    bool start() {
        documents_ = std::make_unique<DocumentController>(
            [this] { ++lastClosed_; },
            std::make_unique<SessionStore>(QString::fromStdString(path_)));
        return documents_->restoreWindows();
    }
    void end() {
        documents_ = nullptr;
        test::runUntil([] { return dispatch::waitForQuiescence(std::chrono::milliseconds(5)); });
    }
    template <class Widget>
    static std::vector<Widget*> shown() {
        std::vector<Widget*> found;
        for (auto* widget : QApplication::topLevelWidgets()) {
            auto* cast = dynamic_cast<Widget*>(widget);
            if (cast != nullptr && cast->isVisible()) {
                found.push_back(cast);
            }
        }
        return found;
    }
    static bool waitForWindows(std::size_t count) {
        return test::runUntil([&] { return shown<MediaPlayerWindow>().size() == count; });
    }
    /// The file names of the stored windows.
    std::vector<std::string> stored() const {
        std::vector<std::string> names;
        for (const auto& window : StoredSession::fromData(test::bytesOf(path_)).windows) {
            names.push_back(FileBookmark::decode(window)->url().lastPathComponent());
        }
        return names;
    }

    const test::TemporaryFolder folder_;
    const std::string path_ = (folder_.path() / "session.json").string();
    const std::string red_ = filmOf("red", "640x360");
    const std::string blue_ = filmOf("blue", "480x270");
    std::unique_ptr<DocumentController> documents_;
    int lastClosed_ = 0;
};

TEST_F(SessionRestoration, quittingKeepsTheWindowsAndClosingTakesOneOut) {
    EXPECT_FALSE(start());
    documents_->open({URL::fromPath(red_), URL::fromPath(blue_)});
    ASSERT_TRUE(waitForWindows(2));
    QEvent quit(QEvent::Quit);
    QCoreApplication::sendEvent(qApp, &quit);
    EXPECT_TRUE(test::runUntil([&] { return lastClosed_ > 0; })) << "quitting closes windows";
    end();

    EXPECT_TRUE(start());
    ASSERT_TRUE(waitForWindows(2));
    for (auto* window : shown<MediaPlayerWindow>()) {
        if (window->windowTitle().contains("red")) {
            window->close();
        }
    }
    ASSERT_TRUE(waitForWindows(1));
    end();
    EXPECT_EQ(stored(), std::vector<std::string>{"session-blue.mkv"});
}

TEST_F(SessionRestoration, filesThatHaveGoneAreReportedOnceAndOthersCome) {
    const auto a = folder_.path() / "a.mkv";
    const auto b = folder_.path() / "b.mkv";
    std::filesystem::copy_file(red_, a);
    std::filesystem::copy_file(red_, b);
    start();
    documents_->open({URL::fromPath(a), URL::fromPath(blue_), URL::fromPath(b)});
    ASSERT_TRUE(waitForWindows(3));
    end();
    EXPECT_EQ(stored().size(), 3U);
    std::filesystem::remove(a);
    std::filesystem::remove(b);

    EXPECT_TRUE(start());
    EXPECT_TRUE(waitForWindows(1));
    ASSERT_TRUE(test::runUntil([&] { return shown<QMessageBox>().size() == 1; }));
    auto* alert = shown<QMessageBox>().front();
    EXPECT_THAT(alert->informativeText().toStdString(), testing::HasSubstr("“a.mkv”, “b.mkv”"));
    alert->close();
    end();
    EXPECT_EQ(stored(), std::vector<std::string>{"session-blue.mkv"});
    EXPECT_TRUE(start());
    EXPECT_TRUE(waitForWindows(1));
    EXPECT_FALSE(documents_->didFail());
    EXPECT_EQ(lastClosed_, 0);
}

TEST_F(SessionRestoration, offersTheOpenPanelWhenNothingCameBack) {
    std::ofstream(path_) << R"({"zelvane.Session.version":1,"zelvane.Session.windows":[{}]})";
    EXPECT_TRUE(start());
    ASSERT_TRUE(test::runUntil([&] { return shown<QMessageBox>().size() == 1; }));
    EXPECT_EQ(lastClosed_, 0) << "the alert is open";
    shown<QMessageBox>().front()->close();
    EXPECT_TRUE(test::runUntil([&] { return shown<QFileDialog>().size() == 1; }));
}

/// The program itself, which shares its session with earlier ones.
class PlayerRun {
  public:
    PlayerRun(const std::filesystem::path& state, const QStringList& files) {
        auto environment = QProcessEnvironment::systemEnvironment();
        environment.insert("XDG_STATE_HOME", QString::fromStdString(state.string()));
        process_.setProcessEnvironment(environment);
        process_.setStandardErrorFile(QProcess::nullDevice());
        process_.start(ZELVANE_PLAYER, files);
    }
    ~PlayerRun() {
        // SIGKILL
        process_.kill();
        process_.waitForFinished();
    }
    PlayerRun(const PlayerRun&) = delete;
    PlayerRun& operator=(const PlayerRun&) = delete;

  private:
    QProcess process_;
};

TEST_F(SessionRestoration, followsAKilledProcess) {
    const auto path = folder_.path() / "zelvane-player/session.json";
    const auto windows = [&] { return StoredSession::fromData(test::bytesOf(path)).windows; };
    const auto havePlayedFor = [&](const CMTime& time) {
        const auto all = windows();
        return all.size() == 2 && std::ranges::all_of(all, [&](const StateCoder& window) {
                   const auto current = window.decodeTime("zelvane.MediaPlayer.currentTime");
                   return current && *current > time;
               });
    };
    {
        const PlayerRun first(folder_.path(),
                              {QString::fromStdString(red_), QString::fromStdString(blue_)});
        ASSERT_TRUE(test::runUntil([&] { return havePlayedFor(CMTime(2, 1)); }));
    }
    const auto killed = windows();
    const PlayerRun second(folder_.path(), {});
    QRgb middle = 0;
    QRgb edge = 0;
    EXPECT_TRUE(test::runUntil([&] {
        const QImage screen = QGuiApplication::primaryScreen()->grabWindow(0).toImage();
        // Both are in the middle of the screen, and the second is in front.
        middle = screen.pixel(screen.rect().center());
        edge = screen.pixel(screen.rect().center() - QPoint(300, 0));
        return test::isNear(middle, test::kBlue, 48) && test::isNear(edge, test::kRed, 48);
    })) << std::hex
        << middle << " " << edge;
    const auto restored = windows();
    ASSERT_EQ(restored.size(), 2U);
    for (std::size_t i = 0; i < killed.size(); ++i) {
        EXPECT_EQ(restored[i].data(), killed[i].data()) << "paused where it was";
    }
}

} // namespace
} // namespace zelvane
