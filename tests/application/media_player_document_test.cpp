// SPDX-License-Identifier: GPL-3.0-or-later
#include <fstream>

#include <QApplication>
#include <QKeyEvent>
#include <QMessageBox>

#include "application/document_controller.h"
#include "application/media_player_document_progress_window_controller.h"
#include "application/qt_main_queue.h"
#include "player_window/player/progress_view.h"
#include "player_window/window/media_player_window.h"
#include "tests/application/slow_file.h"
#include "tests/player_window/window_test_support.h"

namespace zelvane {
namespace {

TEST(DocumentLifecycle, usesEachResultOnceAndNoneAfterItsEnd) {
    using State = DocumentLifecycle::State;
    struct Row {
        /// Loaded, Failed, made a Player, Cancelled; lower case where that is to be ignored.
        std::string events;
        State state;
    };
    for (const auto& [events, state] :
         {Row{"", State::loading}, Row{"L", State::startingPlayer}, Row{"LP", State::playing},
          Row{"F", State::failed}, Row{"Clpfc", State::cancelled}, Row{"LCpfc", State::cancelled},
          Row{"LPlfc", State::playing}, Row{"Fcpl", State::failed},
          Row{"pLlf", State::startingPlayer}}) {
        DocumentLifecycle lifecycle;
        std::string used;
        for (const char event : events) {
            const int kind = std::toupper(event);
            const bool isUsed = kind == 'L'   ? lifecycle.didLoad()
                                : kind == 'F' ? lifecycle.didFailToLoad()
                                : kind == 'P' ? lifecycle.didMakePlayer()
                                              : lifecycle.cancel();
            used += static_cast<char>(isUsed ? kind : std::tolower(kind));
        }
        EXPECT_EQ(used, events);
        EXPECT_EQ(lifecycle.state(), state) << events;
        EXPECT_EQ(lifecycle.isLoadCancelled(), state == State::cancelled) << events;
    }
}

/// The shown window of the class, or with a child of the class.
template <class Widget>
QWidget* windowWith() {
    for (auto* window : QApplication::topLevelWidgets()) {
        const auto* part = window->findChild<Widget*>();
        if (window->isVisible() && (part != nullptr || qobject_cast<Widget*>(window) != nullptr)) {
            return window;
        }
    }
    return nullptr;
}

TEST(ProgressWindow, isShownAfterAMomentUnlessTheFileIsOpenByThen) {
    MediaPlayerDocumentProgressWindowController fast("fast.mkv");
    const MediaPlayerDocumentProgressWindowController slow("slow.mkv");
    QCoreApplication::processEvents();
    EXPECT_EQ(windowWith<ProgressView>(), nullptr);
    fast.close();
    ASSERT_TRUE(test::runUntil([] { return windowWith<ProgressView>() != nullptr; }));
    EXPECT_EQ(windowWith<ProgressView>()->windowTitle(), "slow.mkv");
}

class SlowDocument : public testing::Test {
  protected:
    void SetUp() override { dispatch::setMainQueue(std::make_shared<QtMainQueue>()); }
    void TearDown() override {
        documents_ = nullptr;
        EXPECT_TRUE(dispatch::waitForQuiescence(std::chrono::seconds(10)))
            << "the load of a closed document ends";
        dispatch::setMainQueue(nullptr);
    }
    QWidget* openSlowFile() {
        documents_->open({URL::fromPath(test::makeSlowFile(folder_.path()))});
        EXPECT_TRUE(test::runUntil([] { return windowWith<ProgressView>() != nullptr; }));
        return windowWith<ProgressView>();
    }

    const test::TemporaryFolder folder_;
    int lastClosed_ = 0;
    std::unique_ptr<DocumentController> documents_ =
        std::make_unique<DocumentController>([this] { ++lastClosed_; });
};

TEST_F(SlowDocument, isCancelledByEscOrWithTheProgram) {
    const std::pair<const char*, std::function<void(QWidget*)>> ways[] = {
        {"Esc",
         [](QWidget* window) {
             QKeyEvent escape(QEvent::KeyPress, Qt::Key_Escape, Qt::NoModifier);
             QCoreApplication::sendEvent(window, &escape);
         }},
        {"quit",
         [](QWidget*) {
             QEvent quit(QEvent::Quit);
             QCoreApplication::sendEvent(qApp, &quit);
         }},
    };
    for (const auto& [name, cancel] : ways) {
        SCOPED_TRACE(name);
        lastClosed_ = 0;
        QWidget* window = openSlowFile();
        ASSERT_NE(window, nullptr);
        EXPECT_EQ(window->accessibleName(), QStringLiteral("Opening “slow.mkv”…"));
        EXPECT_NEAR(window->geometry().center().x(), 640, 1);
        cancel(window);
        EXPECT_TRUE(test::runUntil([&] { return lastClosed_ > 0; }));
        EXPECT_FALSE(documents_->didFail());
        EXPECT_EQ(windowWith<ProgressView>(), nullptr);
    }
}

TEST_F(SlowDocument, givesWayToTheAlertOfItsFailure) {
    QWidget* window = openSlowFile();
    ASSERT_NE(window, nullptr);
    std::filesystem::resize_file(folder_.path() / "slow.mkv", 5);
    ASSERT_TRUE(test::runUntil([] { return windowWith<QMessageBox>() != nullptr; }));
    EXPECT_EQ(windowWith<ProgressView>(), nullptr);
    windowWith<QMessageBox>()->close();
    EXPECT_TRUE(test::runUntil([&] { return lastClosed_ > 0; }));
    EXPECT_TRUE(documents_->didFail());
}

/// Counts the claims of documents that load, and keeps the reasons.
struct RecordingProcessInfo final : ProcessInfo {
    void disableAutomaticTermination(const std::string& reason) override { log += reason; }
    void enableAutomaticTermination(const std::string& reason) override { log += " " + reason; }
    std::string log;
};

class FastDocument : public testing::Test {
  protected:
    void SetUp() override {
        dispatch::setMainQueue(mainQueue_);
        SessionServices::shared().processInfo = processInfo_;
        MediaPlayerDocument::Handlers handlers;
        handlers.onClosed = [this](bool) { ++closed_; };
        document_ = MediaPlayerDocument::open(
            URL::fromPath(test::madeClip("fast.mkv", test::lavfi("color=s=64x64:d=9"))),
            std::move(handlers));
    }
    void TearDown() override {
        document_ = nullptr;
        while (!dispatch::waitForQuiescence(std::chrono::milliseconds(5))) {
            mainQueue_->runPending();
        }
        mainQueue_->runPending();
        SessionServices::shared() = {};
        dispatch::setMainQueue(nullptr);
    }
    /// Runs tasks of the main queue up to the one that has that effect.
    bool runUntil(const std::function<bool()>& done) {
        return mainQueue_->runUntil(done, std::chrono::seconds(30));
    }

    const std::shared_ptr<dispatch::RunLoopQueue> mainQueue_ =
        std::make_shared<dispatch::RunLoopQueue>();
    const std::shared_ptr<RecordingProcessInfo> processInfo_ =
        std::make_shared<RecordingProcessInfo>();
    std::shared_ptr<MediaPlayerDocument> document_;
    int closed_ = 0;
};

TEST_F(FastDocument, keepsTheSessionFromEndingTheProgramWhileItLoads) {
    EXPECT_EQ(processInfo_->log, "Started loading media.");
    EXPECT_TRUE(runUntil([&] { return document_->window() != nullptr; }));
    EXPECT_EQ(processInfo_->log, "Started loading media. Finished loading media.");
}

TEST_F(FastDocument, thatIsCancelledWhileItsPlayerStartsGetsNoWindow) {
    EXPECT_TRUE(runUntil([&] { return processInfo_->log.find("Finished") != std::string::npos; }));
    document_->cancelLoad();
    EXPECT_EQ(closed_, 1);
    while (!dispatch::waitForQuiescence(std::chrono::milliseconds(5))) {
        mainQueue_->runPending();
    }
    mainQueue_->runPending();
    EXPECT_EQ(document_->window(), nullptr);
    EXPECT_EQ(closed_, 1);
}

} // namespace
} // namespace zelvane
