// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "foundation/geometry.h"

namespace zelvane {

/// The device pixels under a widget. Rectangles on whole pixels are painted without blurred edges.
struct PixelGrid {
    /// Device pixels per point.
    double scale = 1;
    /// The position of the widget's origin in its window, in points.
    double originX = 0;
    double originY = 0;

    enum class MinX { inward, outward };
    /// The rectangle with its corner on a pixel and its size in whole pixels. The top edge moves
    /// down and the size grows; the left edge moves as `minX` says.
    CGRect aligned(const CGRect& rect, MinX minX = MinX::inward) const;
    /// The rectangle with its corner on the nearest pixel and its size in the nearest whole pixels.
    CGRect nearest(const CGRect& rect) const;
    /// The largest rectangle of whole pixels inside the rectangle.
    CGRect inside(const CGRect& rect) const;
};

} // namespace zelvane
