// SPDX-License-Identifier: GPL-3.0-or-later
#include "player_window/controls/focus_ring.h"

#include <QFocusEvent>
#include <QKeyEvent>
#include <QPainter>

#include "player_window/controls/control_colors.h"
#include "player_window/controls/widget_geometry.h"

namespace zelvane {

void paintFocusRing(QPainter& painter, const QWidget& widget, const QRectF& rect,
                    double cornerRadius) {
    constexpr double kInset = kFocusRingWidth / 2;
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setBrush(Qt::NoBrush);
    painter.setPen(QPen(accentColor(widget.palette()), kFocusRingWidth));
    painter.drawRoundedRect(
        qtRect(pixelGridOf(widget).inside(rectOf(rect))).adjusted(kInset, kInset, -kInset, -kInset),
        cornerRadius - kInset, cornerRadius - kInset);
}

bool isFocusByKeyboard(const QFocusEvent& event) {
    const Qt::FocusReason reason = event.reason();
    return reason == Qt::TabFocusReason || reason == Qt::BacktabFocusReason ||
           reason == Qt::ShortcutFocusReason;
}

bool isPressKey(const QKeyEvent& event) {
    const bool isPlain = (event.modifiers() & ~Qt::KeypadModifier) == Qt::NoModifier;
    return isPlain && (event.key() == Qt::Key_Space || event.key() == Qt::Key_Return ||
                       event.key() == Qt::Key_Enter || event.key() == Qt::Key_Select);
}

} // namespace zelvane
