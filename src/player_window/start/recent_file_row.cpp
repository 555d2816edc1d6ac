// SPDX-License-Identifier: GPL-3.0-or-later
#include "player_window/start/recent_file_row.h"

#include <algorithm>

#include <QDir>
#include <QFocusEvent>
#include <QKeyEvent>
#include <QPainter>

#include "player_window/controls/control_button.h"
#include "player_window/controls/control_colors.h"
#include "player_window/controls/focus_ring.h"
#include "player_window/controls/panel_painting.h"

namespace zelvane {
namespace {

constexpr double kCornerRadius = 6;
constexpr int kFontSize = 13;
constexpr int kFolderFontSize = 12;
constexpr int kGap = 16;
constexpr double kFolderOpacity = 0.60;
constexpr double kLeastNameShare = 0.6;
constexpr int kButtonSide = 24;
constexpr double kButtonSymbolSize = 12;
constexpr int kButtonInset = (RecentFileRow::kHeight - kButtonSide) / 2;

} // namespace

QString folderText(const QString& path, const QString& home) {
    const bool isInHome = !home.isEmpty() && (path == home || path.startsWith(home + '/'));
    return isInHome ? '~' + path.mid(home.size()) : path;
}

// The row owns the button. NOLINTBEGIN(cppcoreguidelines-owning-memory)
RecentFileRow::RecentFileRow(const URL& url, QWidget* parent)
    : QAbstractButton(parent), name_(QString::fromStdString(url.lastPathComponent())),
      folder_(folderText(QString::fromStdString(url.path()).section('/', 0, -2), QDir::homePath())),
      removeButton_(new ControlButton(ControlSymbol::close, tr("Remove from Recent"), this)) {
    // Not the text of the button, which turns "&" into a shortcut.
    setAccessibleName(name_);
    setAccessibleDescription(folder_);
    setToolTip(QString::fromStdString(url.path()).toHtmlEscaped());
    setAttribute(Qt::WA_Hover);
    setFocusPolicy(Qt::TabFocus);
    QFont font = this->font();
    font.setPixelSize(kFontSize);
    setFont(font);
    removeButton_->setSymbolSize(kButtonSymbolSize);
    removeButton_->hide();
    connect(removeButton_, &ControlButton::clicked, this, &RecentFileRow::removeRequested);
}
// NOLINTEND(cppcoreguidelines-owning-memory)

void RecentFileRow::updateRemoveButton() {
    removeButton_->setVisible(underMouse() || showsFocus_ || removeButton_->hasFocus());
    update();
}

bool RecentFileRow::event(QEvent* event) {
    const bool isHandled = QAbstractButton::event(event);
    if (event->type() == QEvent::HoverEnter || event->type() == QEvent::HoverLeave) {
        updateRemoveButton();
    }
    return isHandled;
}

void RecentFileRow::resizeEvent(QResizeEvent* /*event*/) {
    removeButton_->setGeometry(width() - kButtonInset - kButtonSide, kButtonInset, kButtonSide,
                               kButtonSide);
}

void RecentFileRow::keyPressEvent(QKeyEvent* event) {
    if (event->key() == Qt::Key_Delete) {
        emit removeRequested();
    } else if (isPressKey(*event) && event->key() != Qt::Key_Space) {
        if (!event->isAutoRepeat()) {
            click();
        }
    } else {
        QAbstractButton::keyPressEvent(event);
    }
}

void RecentFileRow::focusInEvent(QFocusEvent* event) {
    showsFocus_ = isFocusByKeyboard(*event);
    updateRemoveButton();
    QAbstractButton::focusInEvent(event);
}

void RecentFileRow::focusOutEvent(QFocusEvent* event) {
    showsFocus_ = false;
    // The focus may move to the button.
    QMetaObject::invokeMethod(
        this, [this] { updateRemoveButton(); }, Qt::QueuedConnection);
    QAbstractButton::focusOutEvent(event);
}

void RecentFileRow::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    if (underMouse() || isDown()) {
        fillRounded(painter, *this, rect(), kCornerRadius,
                    isDown() ? control_colors::pressedFill() : control_colors::hoverFill());
    }
    if (showsFocus_) {
        paintFocusRing(painter, *this, rect(), kCornerRadius);
    }
    const QRect room =
        rect().adjusted(kPadding, 0, removeButton_->isHidden() ? -kPadding : -kHeight, 0);
    // The advance is rounded, and a text of exactly that width may be elided.
    const int nameWidth = fontMetrics().horizontalAdvance(name_) + 1;
    const int mostForName = static_cast<int>(room.width() * kLeastNameShare);
    const QString name = nameWidth <= mostForName
                             ? name_
                             : fontMetrics().elidedText(name_, Qt::ElideMiddle, mostForName);
    painter.setPen(control_colors::symbol());
    painter.drawText(room, Qt::AlignLeft | Qt::AlignVCenter | Qt::TextSingleLine, name);
    QFont small = font();
    small.setPixelSize(kFolderFontSize);
    painter.setFont(small);
    painter.setPen(control_colors::white(kFolderOpacity));
    const QRect folder = room.adjusted(fontMetrics().horizontalAdvance(name) + kGap, 0, 0, 0);
    painter.drawText(folder, Qt::AlignRight | Qt::AlignVCenter | Qt::TextSingleLine,
                     QFontMetrics(small).elidedText(folder_, Qt::ElideMiddle, folder.width()));
}

} // namespace zelvane
