// SPDX-License-Identifier: GPL-3.0-or-later
#include "player_window/tracks/tracks_popover_row.h"

#include <utility>

#include <QFocusEvent>
#include <QPainter>

#include "player_window/controls/control_colors.h"
#include "player_window/controls/control_symbol.h"

namespace zelvane {
namespace {

constexpr int kFontSize = 13;
constexpr double kCornerRadius = 6;
constexpr int kTitleLeft = 34;
constexpr int kTitleRight = 10;
constexpr double kCheckmarkSize = 16;
constexpr double kCheckmarkCenter = 17;

} // namespace

TracksPopoverRow::TracksPopoverRow(Kind kind, QString title, QWidget* parent)
    : QAbstractButton(parent), title_(std::move(title)) {
    setCheckable(kind == Kind::track);
    // Not the text of the button, which turns "&" into a shortcut.
    setAccessibleName(title_);
    setFocusPolicy(Qt::TabFocus);
    setMouseTracking(true);
    QFont font = this->font();
    font.setPixelSize(kFontSize);
    setFont(font);
}

QRect TracksPopoverRow::titleRect() const {
    return rect().adjusted(kTitleLeft, 0, -kTitleRight, 0);
}

void TracksPopoverRow::resizeEvent(QResizeEvent* /*event*/) {
    const bool isElided = fontMetrics().horizontalAdvance(title_) > titleRect().width();
    setToolTip(isElided ? title_.toHtmlEscaped() : QString());
}

void TracksPopoverRow::focusInEvent(QFocusEvent* event) {
    hasFocusByKeyboard_ =
        event->reason() == Qt::TabFocusReason || event->reason() == Qt::BacktabFocusReason;
    QAbstractButton::focusInEvent(event);
}

void TracksPopoverRow::mouseMoveEvent(QMouseEvent* event) {
    if (!hasFocus()) {
        setFocus(Qt::MouseFocusReason);
    }
    QAbstractButton::mouseMoveEvent(event);
}

void TracksPopoverRow::leaveEvent(QEvent* event) {
    update();
    QAbstractButton::leaveEvent(event);
}

void TracksPopoverRow::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    if (hasFocus() && (hasFocusByKeyboard_ || underMouse())) {
        painter.setPen(Qt::NoPen);
        painter.setBrush(isDown() ? control_colors::pressedFill() : control_colors::hoverFill());
        painter.drawRoundedRect(rect(), kCornerRadius, kCornerRadius);
    }
    if (isChecked()) {
        const QPixmap mark = controlSymbolPixmap(ControlSymbol::checkmark, kCheckmarkSize,
                                                 devicePixelRatio(), accentColor(palette()));
        painter.drawPixmap(
            QPointF(kCheckmarkCenter - kCheckmarkSize / 2, (height() - kCheckmarkSize) / 2), mark);
    }
    painter.setPen(control_colors::symbol());
    painter.drawText(titleRect(), Qt::AlignLeft | Qt::AlignVCenter | Qt::TextSingleLine,
                     fontMetrics().elidedText(title_, Qt::ElideRight, titleRect().width()));
}

} // namespace zelvane
