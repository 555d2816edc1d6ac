// SPDX-License-Identifier: GPL-3.0-or-later
#ifdef ZELVANE_DESKTOP

#include <array>

#include <QApplication>
#include <QEventLoop>
#include <QTimer>

#include "application/qt_main_queue.h"
#include "main_loop.h"
#include "player_window/plain_player_window.h"
#include "player_window/video_widget.h"

namespace zelvane::inspect {
namespace {

class DesktopMainLoop final : public MainLoop {
  public:
    DesktopMainLoop() {
        QApplication::setQuitOnLastWindowClosed(false);
        dispatch::setMainQueue(std::make_shared<QtMainQueue>());
    }

    void runUntil(const std::function<bool()>& done, Deadline deadline) override {
        // Waiting for events ends with an event only: the timer sees to it that the deadline is
        // seen.
        QTimer timer;
        timer.start(std::chrono::milliseconds(20));
        while (!done() && std::chrono::steady_clock::now() < deadline) {
            QApplication::processEvents(QEventLoop::WaitForMoreEvents | QEventLoop::AllEvents);
        }
    }
    std::shared_ptr<VideoPresenter> openWindow(const CGSize& pictureSize) override {
        PlainPlayerWindow::Callbacks callbacks;
        callbacks.onTogglePlay = [] {};
        callbacks.onClose = [this] { isClosed_ = true; };
        window_ = std::make_unique<PlainPlayerWindow>(QStringLiteral("zelvane-inspect"),
                                                      pictureSize, std::move(callbacks));
        window_->show();
        return window_->presenter();
    }
    bool isClosed() const override { return isClosed_; }

  private:
    /// Qt keeps references to both for the life of the application.
    struct CommandLine {
        int count = 1;
        std::string name = "zelvane-inspect";
        std::array<char*, 2> words{name.data(), nullptr};
        CommandLine() { prepareApplication(); }
    };
    CommandLine commandLine_;
    QApplication application_{commandLine_.count, commandLine_.words.data()};
    std::unique_ptr<PlainPlayerWindow> window_;
    bool isClosed_ = false;
};

} // namespace

std::unique_ptr<MainLoop> makeDesktopMainLoop() {
    return std::make_unique<DesktopMainLoop>();
}

} // namespace zelvane::inspect

#endif
