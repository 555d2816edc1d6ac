// SPDX-License-Identifier: GPL-3.0-or-later
#include "player_window/picture_layout.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace zelvane {
namespace {

/// Applies `first`, then scales and moves.
CGAffineTransform scaledAndMoved(const CGAffineTransform& first, double scaleX, double scaleY,
                                 double moveX, double moveY) {
    return {first.a * scaleX, first.b * scaleY,          first.c * scaleX,
            first.d * scaleY, first.tx * scaleX + moveX, first.ty * scaleY + moveY};
}

CGRect fitted(const CGRect& shape, const CGSize& surface) {
    const double scale = std::min(surface.width / shape.width, surface.height / shape.height);
    // Rounding must not enlarge an exact fit by a pixel.
    constexpr double kSlack = 1e-6;
    const double width = std::min(std::ceil(shape.width * scale - kSlack), surface.width);
    const double height = std::min(std::ceil(shape.height * scale - kSlack), surface.height);
    return {std::floor((surface.width - width) / 2), std::floor((surface.height - height) / 2),
            width, height};
}

} // namespace

PictureLayout layOutPicture(const CGRect& bounds, const CGAffineTransform& transform,
                            const CGSize& surface) {
    const CGRect shape = applyAffineTransform(bounds, transform);
    const bool isEmpty =
        !(shape.width > 0) || !(shape.height > 0) || !(surface.width > 0) || !(surface.height > 0);
    if (isEmpty) {
        return {};
    }
    const CGRect target = fitted(shape, surface);
    const double scaleX = target.width / shape.width;
    const double scaleY = target.height / shape.height;
    const CGAffineTransform fromUnitSquare{
        transform.a * bounds.width,
        transform.b * bounds.width,
        transform.c * bounds.height,
        transform.d * bounds.height,
        transform.a * bounds.x + transform.c * bounds.y + transform.tx,
        transform.b * bounds.x + transform.d * bounds.y + transform.ty};
    return {target, scaledAndMoved(fromUnitSquare, scaleX, scaleY, target.x - shape.x * scaleX,
                                   target.y - shape.y * scaleY)};
}

PictureOrientation pictureOrientation(const CGAffineTransform& transform) {
    const bool isMirrored = transform.a * transform.d - transform.b * transform.c < 0;
    const double sign = isMirrored ? -1 : 1;
    const double angle = std::atan2(sign * transform.b, sign * transform.a);
    const auto turns = static_cast<int>(std::lround(angle / (std::numbers::pi / 2)));
    return {(turns + 4) % 4, isMirrored};
}

} // namespace zelvane
