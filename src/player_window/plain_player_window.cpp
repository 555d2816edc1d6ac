// SPDX-License-Identifier: GPL-3.0-or-later
#include "player_window/plain_player_window.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include <QCloseEvent>
#include <QDropEvent>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QLabel>
#include <QScreen>

#include "player_window/dropped_subtitles.h"
#include "player_window/notice_widget.h"
#include "player_window/picture_view.h"

namespace zelvane {
namespace {

constexpr QSize kSoundWindowSize(480, 150);
constexpr QSize kSmallestSize(160, 90);
constexpr QColor kSoundGround(0x24, 0x26, 0x2a);
constexpr QColor kSoundText(0xd8, 0xda, 0xde);
constexpr int kNameMargin = 24;

QSize windowSizeFor(const std::optional<CGSize>& picture) {
    if (!picture) {
        return kSoundWindowSize;
    }
    const QSize available = QGuiApplication::primaryScreen()->availableGeometry().size();
    const CGSize size = initialWindowSize(*picture, {static_cast<double>(available.width()),
                                                     static_cast<double>(available.height())});
    return {static_cast<int>(size.width), static_cast<int>(size.height)};
}

template <class... Arguments>
void call(const std::function<void(Arguments...)>& callback,
          const std::common_type_t<Arguments>&... arguments) {
    if (callback) {
        callback(arguments...);
    }
}

} // namespace

CGSize initialWindowSize(const CGSize& picture, const CGSize& available) {
    if (!(picture.width > 0) || !(picture.height > 0)) {
        return {0, 0};
    }
    const double scale =
        std::min({1.0, available.width / picture.width, available.height / picture.height});
    return {std::round(picture.width * scale), std::round(picture.height * scale)};
}

PlainPlayerWindow::PlainPlayerWindow(const QString& fileName, std::optional<CGSize> pictureSize,
                                     Callbacks callbacks)
    : callbacks_(std::move(callbacks)), fileName_(fileName) {
    setWindowTitle(fileName);
    setMinimumSize(kSmallestSize);
    setAcceptDrops(true);
    // Owned by this window. NOLINTBEGIN(cppcoreguidelines-owning-memory)
    if (pictureSize) {
        pictureView_ = new PictureView(this);
    } else {
        nameLabel_ = new QLabel(this);
        nameLabel_->setAlignment(Qt::AlignCenter);
        nameLabel_->setTextFormat(Qt::PlainText);
        QFont font = nameLabel_->font();
        font.setPointSizeF(font.pointSizeF() * 1.25);
        nameLabel_->setFont(font);
    }
    notice_ = new NoticeWidget(this);
    // NOLINTEND(cppcoreguidelines-owning-memory)
    setDarkGround();
    resize(windowSizeFor(pictureSize));
    fillWithContent();
}

void PlainPlayerWindow::setDarkGround() {
    QPalette dark = palette();
    dark.setColor(QPalette::Window, pictureView_ != nullptr ? QColor(Qt::black) : kSoundGround);
    dark.setColor(QPalette::WindowText, kSoundText);
    setPalette(dark);
    setAutoFillBackground(true);
}

std::shared_ptr<VideoPresenter> PlainPlayerWindow::presenter() const {
    return pictureView_ == nullptr ? nullptr : pictureView_->presenter();
}

void PlainPlayerWindow::fillWithContent() {
    if (pictureView_ != nullptr && pictureView_->parentWidget() == this) {
        pictureView_->setGeometry(rect());
    }
    if (nameLabel_ != nullptr) {
        const QRect place = rect().adjusted(kNameMargin, 0, -kNameMargin, 0);
        nameLabel_->setGeometry(place);
        nameLabel_->setText(
            nameLabel_->fontMetrics().elidedText(fileName_, Qt::ElideMiddle, place.width()));
    }
    notice_->fitToParent();
}

void PlainPlayerWindow::showNotice(const QString& text) {
    notice_->showText(text);
}

void PlainPlayerWindow::resizeEvent(QResizeEvent* /*event*/) {
    fillWithContent();
}

void PlainPlayerWindow::toggleFullScreen() {
    setWindowState(windowState() ^ Qt::WindowFullScreen);
}

void PlainPlayerWindow::leaveFullScreen() {
    setWindowState(windowState() & ~Qt::WindowFullScreen);
}

void PlainPlayerWindow::keyPressEvent(QKeyEvent* event) {
    const bool isShiftJ = event->modifiers() == Qt::ShiftModifier && event->key() == Qt::Key_J;
    const bool isPlain = event->modifiers() == Qt::NoModifier;
    if (event->isAutoRepeat() || !(isShiftJ || (isPlain && pressKey(event->key())))) {
        event->ignore();
    } else if (isShiftJ) {
        call(callbacks_.onCycleSubtitles, SubtitlesPosition::secondary);
    }
}

bool PlainPlayerWindow::pressKey(int key) {
    switch (key) {
    case Qt::Key_Space:
        call(callbacks_.onTogglePlay);
        return true;
    case Qt::Key_J:
        call(callbacks_.onCycleSubtitles, SubtitlesPosition::primary);
        return true;
    case Qt::Key_F:
    case Qt::Key_F11:
        toggleFullScreen();
        return true;
    case Qt::Key_Escape:
        leaveFullScreen();
        return true;
    default:
        return false;
    }
}

std::optional<URL> PlainPlayerWindow::acceptableSubtitles(const QDropEvent& event) const {
    const bool canAdd = callbacks_.canAddSubtitles && callbacks_.canAddSubtitles();
    return canAdd && event.possibleActions().testFlag(Qt::CopyAction)
               ? droppedSubtitles(*event.mimeData())
               : std::nullopt;
}

void PlainPlayerWindow::dragEnterEvent(QDragEnterEvent* event) {
    if (acceptableSubtitles(*event)) {
        event->setDropAction(Qt::CopyAction);
        event->accept();
    } else {
        event->ignore();
    }
}

void PlainPlayerWindow::dropEvent(QDropEvent* event) {
    if (const auto url = acceptableSubtitles(*event)) {
        event->setDropAction(Qt::CopyAction);
        event->accept();
        call(callbacks_.onAddSubtitles, *url);
    } else {
        event->ignore();
    }
}

void PlainPlayerWindow::closeEvent(QCloseEvent* event) {
    event->accept();
    if (const auto onClose = std::exchange(callbacks_.onClose, nullptr)) {
        onClose();
    }
}

} // namespace zelvane
