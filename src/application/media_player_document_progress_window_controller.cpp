// SPDX-License-Identifier: GPL-3.0-or-later
#include "application/media_player_document_progress_window_controller.h"

#include <functional>
#include <utility>

#include <QCloseEvent>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QScreen>
#include <QVBoxLayout>

#include "player_window/controls/control_colors.h"
#include "player_window/file_icon.h"
#include "player_window/player/progress_view.h"

namespace zelvane {
namespace {

constexpr int kFrame = 8;

} // namespace

class MediaPlayerDocumentProgressWindowController::Window final : public QWidget {
  public:
    Window(const QString& fileName, std::function<void()> cancel)
        : QWidget(nullptr, Qt::Dialog | Qt::CustomizeWindowHint | Qt::WindowTitleHint |
                               Qt::WindowCloseButtonHint),
          cancel_(std::move(cancel)) {
        setWindowTitle(fileName);
        setPalette(control_colors::menuPalette());
        setAutoFillBackground(true);
        const QString text =
            MediaPlayerDocumentProgressWindowController::tr("Opening “%1”…").arg(fileName);
        setAccessibleName(text);
        // The layout owns it. NOLINTNEXTLINE(cppcoreguidelines-owning-memory)
        auto* progress = new ProgressView(fileIcon(fileName), text, this);
        // NOLINTNEXTLINE(cppcoreguidelines-owning-memory)
        auto* fill = new QVBoxLayout(this);
        fill->setContentsMargins(kFrame, kFrame, kFrame, kFrame);
        fill->addWidget(progress);
        setFixedSize(ProgressView::kPreferredSize + QSize(2 * kFrame, 2 * kFrame));
        progress->setFocus();
        connect(progress, &ProgressView::cancelled, this, &Window::cancelOnce);
    }

  protected:
    void keyPressEvent(QKeyEvent* event) override {
        if (event->key() == Qt::Key_Escape) {
            cancelOnce();
        }
    }
    void closeEvent(QCloseEvent* /*event*/) override { cancelOnce(); }

  private:
    void cancelOnce() {
        if (const auto cancel = std::exchange(cancel_, nullptr)) {
            cancel();
        }
    }

    std::function<void()> cancel_;
};

MediaPlayerDocumentProgressWindowController::MediaPlayerDocumentProgressWindowController(
    const QString& fileName)
    : fileName_(fileName) {
    delay_.setSingleShot(true);
    connect(&delay_, &QTimer::timeout, this,
            &MediaPlayerDocumentProgressWindowController::showWindow);
    delay_.start(ProgressView::kDelay);
}

MediaPlayerDocumentProgressWindowController::~MediaPlayerDocumentProgressWindowController() =
    default;

void MediaPlayerDocumentProgressWindowController::showWindow() {
    window_ = std::make_unique<Window>(fileName_, [this] { emit didCancel(); });
    QRect frame({}, window_->size());
    frame.moveCenter(window_->screen()->availableGeometry().center());
    window_->move(frame.topLeft());
    window_->show();
}

void MediaPlayerDocumentProgressWindowController::close() {
    delay_.stop();
    if (window_) {
        window_->hide();
    }
}

} // namespace zelvane
