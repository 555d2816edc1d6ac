// SPDX-License-Identifier: GPL-3.0-or-later
#include "player_window/start/primary_button.h"

#include <QFocusEvent>
#include <QKeyEvent>
#include <QPainter>

#include "player_window/controls/control_colors.h"
#include "player_window/controls/focus_ring.h"
#include "player_window/controls/panel_painting.h"

namespace zelvane {
namespace {

constexpr int kHeight = 34;
constexpr int kPadding = 16;
constexpr int kFontSize = 13;
constexpr double kCornerRadius = 8;
constexpr QColor kText(0x10, 0x10, 0x12);
constexpr int kLighterUnderPointer = 106;
constexpr int kDarkerWhilePressed = 112;

} // namespace

PrimaryButton::PrimaryButton(const QString& text, QWidget* parent) : QAbstractButton(parent) {
    setText(text);
    setAttribute(Qt::WA_Hover);
    setFocusPolicy(Qt::StrongFocus);
    QFont font = this->font();
    font.setPixelSize(kFontSize);
    font.setWeight(QFont::DemiBold);
    setFont(font);
}

QSize PrimaryButton::sizeHint() const {
    return {fontMetrics().horizontalAdvance(text()) + 2 * kPadding, kHeight};
}

bool PrimaryButton::event(QEvent* event) {
    if (event->type() == QEvent::HoverEnter || event->type() == QEvent::HoverLeave) {
        update();
    }
    return QAbstractButton::event(event);
}

void PrimaryButton::keyPressEvent(QKeyEvent* event) {
    // The base presses the button by Space alone.
    if (isPressKey(*event) && event->key() != Qt::Key_Space) {
        if (!event->isAutoRepeat()) {
            click();
        }
    } else {
        QAbstractButton::keyPressEvent(event);
    }
}

void PrimaryButton::focusInEvent(QFocusEvent* event) {
    showsFocus_ = isFocusByKeyboard(*event);
    QAbstractButton::focusInEvent(event);
}

void PrimaryButton::focusOutEvent(QFocusEvent* event) {
    showsFocus_ = false;
    QAbstractButton::focusOutEvent(event);
}

void PrimaryButton::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    QColor fill = accentColor(palette());
    if (isDown()) {
        fill = fill.darker(kDarkerWhilePressed);
    } else if (underMouse()) {
        fill = fill.lighter(kLighterUnderPointer);
    }
    fillRounded(painter, *this, rect(), kCornerRadius, fill);
    if (showsFocus_) {
        // The ring has the colour of the button, so that it needs a gap.
        painter.setBrush(Qt::NoBrush);
        painter.setPen(QPen(kText, kFocusRingWidth));
        constexpr double kInset = kFocusRingWidth * 1.5;
        painter.drawRoundedRect(QRectF(rect()).adjusted(kInset, kInset, -kInset, -kInset),
                                kCornerRadius - kInset, kCornerRadius - kInset);
    }
    painter.setPen(kText);
    painter.drawText(rect(), Qt::AlignCenter, text());
}

} // namespace zelvane
