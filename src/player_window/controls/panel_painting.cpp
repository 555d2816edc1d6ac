// SPDX-License-Identifier: GPL-3.0-or-later
#include "player_window/controls/panel_painting.h"

#include <algorithm>
#include <cmath>

#include <QPainter>

#include "player_window/controls/control_colors.h"
#include "player_window/controls/widget_geometry.h"

namespace zelvane {

void fillRounded(QPainter& painter, const QWidget& widget, const QRectF& rect, double cornerRadius,
                 const QBrush& brush) {
    painter.setPen(Qt::NoPen);
    painter.setBrush(brush);
    painter.drawRoundedRect(qtRect(pixelGridOf(widget).inside(rectOf(rect))), cornerRadius,
                            cornerRadius);
}

void paintHairline(QPainter& painter, const QWidget& widget, const QRectF& rect,
                   double cornerRadius) {
    const PixelGrid grid = pixelGridOf(widget);
    const double width = std::max(std::floor(grid.scale), 1.0) / grid.scale;
    const double inset = width / 2;
    painter.setBrush(Qt::NoBrush);
    painter.setPen(QPen(control_colors::hairline(), width));
    painter.drawRoundedRect(
        qtRect(grid.inside(rectOf(rect))).adjusted(inset, inset, -inset, -inset),
        cornerRadius - inset, cornerRadius - inset);
}

} // namespace zelvane
