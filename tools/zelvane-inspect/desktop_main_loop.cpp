// SPDX-License-Identifier: GPL-3.0-or-later
#ifdef ZELVANE_DESKTOP

#include <array>
#include <cmath>

#include <QApplication>
#include <QCloseEvent>
#include <QEventLoop>
#include <QScreen>
#include <QTimer>

#include "application/qt_main_queue.h"
#include "main_loop.h"
#include "player_window/picture_view.h"
#include "player_window/video_widget.h"

namespace zelvane::inspect {
namespace {

/// A window with only the picture, without controls or sound.
class PictureWindow final : public QWidget {
  public:
    explicit PictureWindow(const CGSize& pictureSize) : pictureView_(this) {
        setWindowTitle(QStringLiteral("zelvane-inspect"));
        QSize size(static_cast<int>(std::lround(pictureSize.width)),
                   static_cast<int>(std::lround(pictureSize.height)));
        const QSize available = screen()->availableSize();
        if (size.boundedTo(available) != size) {
            size.scale(available, Qt::KeepAspectRatio);
        }
        resize(size.expandedTo(kSmallestSize));
    }

    std::shared_ptr<VideoPresenter> presenter() const { return pictureView_.presenter(); }
    bool isClosed() const { return isClosed_; }

  protected:
    void resizeEvent(QResizeEvent* /*event*/) override { pictureView_.setGeometry(rect()); }
    void closeEvent(QCloseEvent* event) override {
        event->accept();
        isClosed_ = true;
    }

  private:
    static constexpr QSize kSmallestSize{160, 90};

    PictureView pictureView_;
    bool isClosed_ = false;
};

class DesktopMainLoop final : public MainLoop {
  public:
    DesktopMainLoop() {
        QApplication::setQuitOnLastWindowClosed(false);
        dispatch::setMainQueue(std::make_shared<QtMainQueue>());
    }

    void runUntil(const std::function<bool()>& done, Deadline deadline) override {
        // processEvents returns only after an event. The timer makes the loop check the deadline.
        QTimer timer;
        timer.start(std::chrono::milliseconds(20));
        while (!done() && std::chrono::steady_clock::now() < deadline) {
            QApplication::processEvents(QEventLoop::WaitForMoreEvents | QEventLoop::AllEvents);
        }
    }
    std::shared_ptr<VideoPresenter> openWindow(const CGSize& pictureSize) override {
        window_ = std::make_unique<PictureWindow>(pictureSize);
        window_->show();
        return window_->presenter();
    }
    bool isClosed() const override { return window_ && window_->isClosed(); }

  private:
    /// Qt keeps references to both while the application exists.
    struct CommandLine {
        int count = 1;
        std::string name = "zelvane-inspect";
        std::array<char*, 2> words{name.data(), nullptr};
        CommandLine() { prepareApplication(); }
    };
    CommandLine commandLine_;
    QApplication application_{commandLine_.count, commandLine_.words.data()};
    std::unique_ptr<PictureWindow> window_;
};

} // namespace

std::unique_ptr<MainLoop> makeDesktopMainLoop() {
    return std::make_unique<DesktopMainLoop>();
}

} // namespace zelvane::inspect

#endif
