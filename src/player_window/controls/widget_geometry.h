// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cmath>

#include <QRectF>
#include <QWidget>

#include "foundation/geometry.h"
#include "player_window/controls/pixel_grid.h"

namespace zelvane {

inline QRectF qtRect(const CGRect& rect) {
    return {rect.x, rect.y, rect.width, rect.height};
}

inline CGRect rectOf(const QRectF& rect) {
    return {rect.x(), rect.y(), rect.width(), rect.height()};
}

inline CGSize sizeOf(const QSizeF& size) {
    return {size.width(), size.height()};
}

/// At the nearest whole points: where a widget can be.
inline QRect nearestPoints(const CGRect& rect) {
    return {static_cast<int>(std::lround(rect.x)), static_cast<int>(std::lround(rect.y)),
            static_cast<int>(std::lround(rect.width)), static_cast<int>(std::lround(rect.height))};
}

/// The device pixels under the widget, at its present place in its window.
inline PixelGrid pixelGridOf(const QWidget& widget) {
    const QPointF origin = widget.mapTo(widget.window(), QPointF(0, 0));
    return {widget.devicePixelRatio(), origin.x(), origin.y()};
}

} // namespace zelvane
