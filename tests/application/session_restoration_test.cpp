// SPDX-License-Identifier: GPL-3.0-or-later
#include <algorithm>
#include <fstream>
#include <span>

#include <QFileDialog>
#include <QImage>
#include <QMessageBox>
#include <QProcess>

#include <fmt/format.h>
#include <gmock/gmock.h>

#include "application/document_controller.h"
#include "application/qt_main_queue.h"
#include "player_window/window/media_player_window.h"
#include "tests/application/slow_file.h"
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
  protected:
    void SetUp() override { dispatch::setMainQueue(std::make_shared<QtMainQueue>()); }
    void TearDown() override {
        end();
        dispatch::setMainQueue(nullptr);
    }
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
    StoredSession session() const { return StoredSession::fromData(test::bytesOf(path_)); }
    /// The file names of the stored windows.
    std::vector<std::string> stored() const {
        std::vector<std::string> names;
        for (const auto& window : session().windows) {
            names.push_back(FileBookmark::decode(window)->url().lastPathComponent());
        }
        return names;
    }

    const test::TemporaryFolder folder_;
    const std::string path_ = (folder_.path() / "zelvane-player/session.json").string();
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
    std::filesystem::create_directory(folder_.path() / "zelvane-player");
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
    explicit PlayerRun(const std::filesystem::path& state, const QStringList& files = {}) {
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

/// "film.mkv 2.5", the position in seconds, of each stored window. Of those that are being restored
/// the count follows.
std::vector<std::string> textsOf(const std::vector<StateCoder>& windows) {
    std::vector<std::string> texts;
    for (const auto& window : windows) {
        const auto count = window.decodeInteger("zelvane.Session.unfinishedRestorations");
        const auto time = window.decodeTime("zelvane.MediaPlayer.currentTime");
        texts.push_back(fmt::format(
            "{} {}{}", FileBookmark::decode(window)->url().lastPathComponent(),
            time.value_or(kCMTimeZero).seconds(), count ? fmt::format(" {}", *count) : ""));
    }
    return texts;
}

TEST_F(SessionRestoration, followsAKilledProcess) {
    std::vector<std::string> expected;
    std::vector<std::string> texts;
    for (int run = 0; run < 6; ++run) {
        const auto film = folder_.path() / fmt::format("{}.mkv", run);
        std::filesystem::create_symlink(run % 2 == 0 ? red_ : blue_, film);
        {
            const PlayerRun player(folder_.path(), {QString::fromStdString(film.string())});
            ASSERT_TRUE(test::runUntil([&] {
                const auto windows = session().windows;
                texts = textsOf(windows);
                // The new film plays, for a time that differs from run to run.
                return texts.size() == expected.size() + 1 &&
                       std::ranges::equal(expected, std::span(texts).first(expected.size())) &&
                       windows.back().decodeTime("zelvane.MediaPlayer.currentTime") >
                           CMTime(run * 37 % 100, 100);
            })) << testing::PrintToString(expected)
                << " became " << testing::PrintToString(texts);
        }
        EXPECT_EQ(session().condition, StoredSession::Condition::whole);
        expected = textsOf(session().windows);
    }
}

TEST_F(SessionRestoration, leavesOutTheFileThatEndsTheProgramRepeatedly) {
    const auto film = folder_.path() / "film.mkv";
    std::filesystem::copy_file(blue_, film);
    std::vector<std::string> stored;
    // The desktop chooses the window in front.
    const auto isStored = [&](const std::vector<std::string>& expected) {
        return test::runUntil([&] {
            stored = textsOf(session().windows);
            return std::ranges::is_permutation(stored, expected);
        });
    };
    start();
    documents_->open({URL::fromPath(red_), URL::fromPath(film)});
    ASSERT_TRUE(waitForWindows(2));
    end();
    SessionState seekedState;
    for (StateCoder window : session().windows) {
        window.encodeTime("zelvane.MediaPlayer.currentTime", CMTime(7, 1));
        seekedState.set(FileBookmark::decode(window)->url() == URL::fromPath(film) ? 1 : 2, window);
    }
    std::ofstream(path_) << seekedState.data();
    // A file that has not been opened when the program ends.
    std::filesystem::remove(film);
    std::filesystem::rename(test::makeSlowFile(folder_.path()), film);
    const auto before = textsOf(session().windows);
    ASSERT_THAT(before, testing::UnorderedElementsAre("film.mkv 7", "session-red.mkv 7"));
    for (const char* count : {" 1", " 2"}) {
        const PlayerRun player(folder_.path());
        EXPECT_TRUE(isStored({std::string("film.mkv 7") + count, "session-red.mkv 7"}))
            << testing::PrintToString(stored);
    }
    std::filesystem::remove(film);
    std::filesystem::copy_file(blue_, film);

    EXPECT_TRUE(start());
    ASSERT_TRUE(test::runUntil([&] { return shown<QMessageBox>().size() == 1; }));
    shown<QMessageBox>().front()->close();
    EXPECT_EQ(shown<MediaPlayerWindow>().size(), 1U);
    documents_->open({URL::fromPath(film)});
    EXPECT_TRUE(isStored(before)) << "with its state: " << testing::PrintToString(stored);
}

} // namespace
} // namespace zelvane
