// SPDX-License-Identifier: GPL-3.0-or-later
#include "player_window/controls/control_button.h"

#include <algorithm>
#include <cmath>

#include <QEvent>
#include <QFocusEvent>
#include <QKeyEvent>
#include <QPainter>
#include <QToolTip>

#include "player_window/controls/control_colors.h"
#include "player_window/controls/focus_ring.h"
#include "player_window/controls/panel_painting.h"
#include "player_window/controls/widget_geometry.h"

namespace zelvane {
namespace {

constexpr int kSide = 30;
constexpr double kCornerRadius = 6;
constexpr double kBadgeSizeOfSymbol = 0.36;
constexpr int kToolTipMargin = 5;

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

void ControlButton::showToolTipAbove() {
    // The toolkit places a tooltip below and to the right of the position that it gets.
    const QPoint offset(2, 16);
    const QSize size = QFontMetrics(QToolTip::font()).size(Qt::TextSingleLine, toolTip());
    const QPoint topLeft((width() - size.width()) / 2, -size.height() - 2 * kToolTipMargin);
    QToolTip::showText(mapToGlobal(topLeft) - offset, toolTip(), this);
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
    if (event->type() == QEvent::ToolTip && showsToolTipAbove_) {
        showToolTipAbove();
        return true;
    }
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

ControlButton::Look ControlButton::look() const {
    return {.place = pixelGridOf(*this).nearest(rectOf(rect())),
            .devicePixelRatio = devicePixelRatio(),
            .shape = shape_,
            .symbol = symbol_,
            .symbolSize = symbolSize_,
            .badge = badge_,
            .tint = tint(),
            .accent = showsFocus_ ? accentColor(palette()) : QColor(),
            .isPressed = isDown() || isChecked(),
            .isHovered = isEnabled() && underMouse(),
            .showsFocus = showsFocus_,
            .increasesContrast = control_colors::increasesContrast()};
}

void ControlButton::paintFill(QPainter& painter, const Look& look) const {
    const bool isCircle = look.shape == Shape::circle;
    if (!look.isPressed && !look.isHovered && !isCircle) {
        return;
    }
    const bool isEmphasized = look.isPressed || (isCircle && look.isHovered);
    const double radius = cornerRadius();
    fillRounded(painter, *this, rect(), radius,
                isEmphasized ? control_colors::pressedFill() : control_colors::hoverFill());
    if (look.increasesContrast) {
        paintHairline(painter, *this, rect(), radius);
    }
}

void ControlButton::paintSymbol(QPainter& painter, const Look& look) const {
    const QPixmap pixmap =
        controlSymbolPixmap(look.symbol, look.symbolSize, look.devicePixelRatio, look.tint);
    const QSizeF size = pixmap.deviceIndependentSize();
    // On whole device pixels: the symbol is not interpolated.
    const CGRect place =
        pixelGridOf(*this).nearest({(width() - size.width()) / 2, (height() - size.height()) / 2,
                                    size.width(), size.height()});
    painter.drawPixmap(QPointF(place.x, place.y), pixmap);
    if (look.badge.isEmpty()) {
        return;
    }
    QFont font = this->font();
    font.setPixelSize(std::max(static_cast<int>(look.symbolSize * kBadgeSizeOfSymbol), 1));
    font.setWeight(QFont::DemiBold);
    painter.setFont(font);
    painter.setPen(look.tint);
    // The circle of the symbol is a little below the middle.
    painter.drawText(rect().translated(0, 1), Qt::AlignCenter, look.badge);
}

QPixmap ControlButton::painted(const Look& look) const {
    const auto pixels = [&](double points) {
        return static_cast<int>(std::lround(points * look.devicePixelRatio));
    };
    QPixmap pixmap(pixels(look.place.width), pixels(look.place.height));
    pixmap.setDevicePixelRatio(look.devicePixelRatio);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.translate(-look.place.x, -look.place.y);
    paintFill(painter, look);
    paintSymbol(painter, look);
    if (look.showsFocus) {
        paintFocusRing(painter, *this, rect(), cornerRadius());
    }
    return pixmap;
}

void ControlButton::paintEvent(QPaintEvent* /*event*/) {
    const Look now = look();
    if (now != paintedLook_) {
        pixmap_ = painted(now);
        paintedLook_ = now;
    }
    QPainter(this).drawPixmap(QPointF(now.place.x, now.place.y), pixmap_);
}

} // namespace zelvane
