// SPDX-License-Identifier: GPL-3.0-or-later
#include "player_window/controls/control_button.h"

#include <QEvent>
#include <QFocusEvent>
#include <QKeyEvent>
#include <QPainter>

#include "player_window/controls/control_colors.h"
#include "player_window/controls/focus_ring.h"
#include "player_window/controls/panel_painting.h"
#include "player_window/controls/widget_geometry.h"

namespace zelvane {
namespace {

constexpr int kSide = 30;
constexpr double kCornerRadius = 6;
constexpr double kBadgeSizeOfSymbol = 0.36;

} // namespace

ControlButton::ControlButton(ControlSymbol symbol, const QString& name, QWidget* parent)
    : QAbstractButton(parent), symbol_(symbol) {
    setAttribute(Qt::WA_Hover);
    setFocusPolicy(Qt::TabFocus);
    setSymbol(symbol, name);
}

void ControlButton::setSymbol(ControlSymbol symbol, const QString& name) {
    symbol_ = symbol;
    setAccessibleName(name);
    updateToolTip();
    update();
}

void ControlButton::setKeyOf(PlayerAction action) {
    action_ = action;
    updateToolTip();
}

void ControlButton::updateToolTip() {
    setToolTip(action_ ? nameWithKey(accessibleName(), *action_) : accessibleName());
}

void ControlButton::setSymbolSize(double size) {
    symbolSize_ = size;
    update();
}

void ControlButton::setShape(Shape shape) {
    shape_ = shape;
    update();
}

void ControlButton::setBadge(const QString& badge) {
    badge_ = badge;
    update();
}

void ControlButton::setAccented(bool accented) {
    isAccented_ = accented;
    update();
}

QSize ControlButton::sizeHint() const {
    return {kSide, kSide};
}

bool ControlButton::event(QEvent* event) {
    if (event->type() == QEvent::HoverEnter || event->type() == QEvent::HoverLeave) {
        update();
    }
    return QAbstractButton::event(event);
}

void ControlButton::keyPressEvent(QKeyEvent* event) {
    // The base presses the button by Space alone.
    if (isPressKey(*event) && event->key() != Qt::Key_Space) {
        if (!event->isAutoRepeat()) {
            click();
        }
    } else {
        QAbstractButton::keyPressEvent(event);
    }
}

void ControlButton::focusInEvent(QFocusEvent* event) {
    showsFocus_ = isFocusByKeyboard(*event);
    QAbstractButton::focusInEvent(event);
}

void ControlButton::focusOutEvent(QFocusEvent* event) {
    showsFocus_ = false;
    QAbstractButton::focusOutEvent(event);
}

QColor ControlButton::tint() const {
    if (!isEnabled()) {
        return control_colors::disabledSymbol();
    }
    return isAccented_ ? accentColor(palette()) : control_colors::symbol();
}

double ControlButton::cornerRadius() const {
    return shape_ == Shape::circle ? width() / 2.0 : kCornerRadius;
}

void ControlButton::paintFill(QPainter& painter) const {
    const bool isPressed = isDown() || isChecked();
    const bool isFilled = isPressed || (isEnabled() && underMouse()) || shape_ == Shape::circle;
    if (!isFilled) {
        return;
    }
    const bool isEmphasized = isPressed || (shape_ == Shape::circle && underMouse());
    const double radius = cornerRadius();
    fillRounded(painter, *this, rect(), radius,
                isEmphasized ? control_colors::pressedFill() : control_colors::hoverFill());
    if (control_colors::increasesContrast()) {
        paintHairline(painter, *this, rect(), radius);
    }
}

void ControlButton::paintSymbol(QPainter& painter) const {
    const QPixmap pixmap = controlSymbolPixmap(symbol_, symbolSize_, devicePixelRatio(), tint());
    const QSizeF size = pixmap.deviceIndependentSize();
    // On whole device pixels: the symbol is not interpolated.
    const CGRect place =
        pixelGridOf(*this).nearest({(width() - size.width()) / 2, (height() - size.height()) / 2,
                                    size.width(), size.height()});
    painter.drawPixmap(QPointF(place.x, place.y), pixmap);
    if (badge_.isEmpty()) {
        return;
    }
    QFont font = this->font();
    font.setPixelSize(std::max(static_cast<int>(symbolSize_ * kBadgeSizeOfSymbol), 1));
    font.setWeight(QFont::DemiBold);
    painter.setFont(font);
    painter.setPen(tint());
    // The circle of the symbol is a little below the middle.
    painter.drawText(rect().translated(0, 1), Qt::AlignCenter, badge_);
}

void ControlButton::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    paintFill(painter);
    paintSymbol(painter);
    if (showsFocus_) {
        paintFocusRing(painter, *this, rect(), cornerRadius());
    }
}

} // namespace zelvane
