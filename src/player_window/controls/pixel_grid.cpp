// SPDX-License-Identifier: GPL-3.0-or-later
#include "player_window/controls/pixel_grid.h"

#include <algorithm>
#include <cmath>

namespace zelvane {
namespace {

/// Products with a fractional scale are off by less than this, in pixels.
constexpr double kSlack = 1e-6;

double roundedUp(double pixels) {
    return std::ceil(pixels - kSlack);
}

double roundedDown(double pixels) {
    return std::floor(pixels + kSlack);
}

} // namespace

CGRect PixelGrid::aligned(const CGRect& rect, MinX minX) const {
    const double x = (rect.x + originX) * scale;
    const double y = (rect.y + originY) * scale;
    return {(minX == MinX::inward ? roundedUp(x) : roundedDown(x)) / scale - originX,
            roundedUp(y) / scale - originY, roundedUp(rect.width * scale) / scale,
            roundedUp(rect.height * scale) / scale};
}

CGRect PixelGrid::nearest(const CGRect& rect) const {
    return {std::round((rect.x + originX) * scale) / scale - originX,
            std::round((rect.y + originY) * scale) / scale - originY,
            std::round(rect.width * scale) / scale, std::round(rect.height * scale) / scale};
}

CGRect PixelGrid::inside(const CGRect& rect) const {
    const double left = roundedUp((rect.x + originX) * scale);
    const double top = roundedUp((rect.y + originY) * scale);
    const double right = roundedDown((rect.x + rect.width + originX) * scale);
    const double bottom = roundedDown((rect.y + rect.height + originY) * scale);
    return {left / scale - originX, top / scale - originY, std::max(right - left, 0.0) / scale,
            std::max(bottom - top, 0.0) / scale};
}

} // namespace zelvane
