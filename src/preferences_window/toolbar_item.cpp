// SPDX-License-Identifier: GPL-3.0-or-later
#include "preferences_window/toolbar_item.h"

#include <algorithm>

#include <QPainter>

namespace zelvane {
namespace {

constexpr int kSymbolSize = 24;
constexpr int kPadding = 6;
constexpr int kGap = 3;
constexpr int kLeastWidth = 72;
constexpr double kRadius = 6;
constexpr double kSelectedOpacity = 0.12;
constexpr double kHoverOpacity = 0.06;
constexpr double kRingWidth = 2;

QColor withOpacity(QColor color, double opacity) {
    color.setAlphaF(static_cast<float>(opacity));
    return color;
}

} // namespace

ToolbarItem::ToolbarItem(const ToolbarItemImageProvider& image, QWidget* parent)
    : QToolButton(parent), image_(image) {
    setCheckable(true);
    // With this the arrow keys select too.
    setAutoExclusive(true);
    setAutoRaise(true);
    setFocusPolicy(Qt::TabFocus);
    setAttribute(Qt::WA_Hover);
}

QSize ToolbarItem::sizeHint() const {
    const QFontMetrics metrics(font());
    const int textWidth = metrics.horizontalAdvance(text()) + 2 * kPadding + 2;
    return {std::max(textWidth, kLeastWidth), 2 * kPadding + kSymbolSize + kGap + metrics.height()};
}

void ToolbarItem::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QColor ink =
        palette().color(isChecked() ? QPalette::Active : QPalette::Inactive, QPalette::WindowText);
    const QRectF ground = QRectF(rect()).adjusted(1, 1, -1, -1);
    if (isChecked() || isDown() || underMouse()) {
        painter.setPen(Qt::NoPen);
        painter.setBrush(
            withOpacity(ink, isChecked() || isDown() ? kSelectedOpacity : kHoverOpacity));
        painter.drawRoundedRect(ground, kRadius, kRadius);
    }
    if (hasFocus()) {
        painter.setBrush(Qt::NoBrush);
        painter.setPen(QPen(palette().color(QPalette::Highlight), kRingWidth));
        painter.drawRoundedRect(ground, kRadius, kRadius);
    }
    const QPoint corner((width() - kSymbolSize) / 2, kPadding);
    painter.drawPixmap(corner, image_.toolbarItemImage(kSymbolSize, devicePixelRatio(), ink));
    painter.setPen(ink);
    painter.drawText(
        QRect(0, kPadding + kSymbolSize + kGap, width(), QFontMetrics(font()).height()),
        Qt::AlignCenter, text());
}

} // namespace zelvane
