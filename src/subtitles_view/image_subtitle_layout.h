// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>

#include <QRect>

#include "foundation/geometry.h"

namespace zelvane {

/// The position of a subtitle picture. All origins are at the top left.
struct ImageSubtitlePlacement {
    /// The position in the picture that it was made for.
    CGRect imageFrame;
    /// The size of that picture; if unknown, the subtitle has its own size in the view.
    std::optional<CGSize> videoSize;
    bool isPrimarySubtitle = true;
};

/// The position in a view of this size, in the view's units. The picture is fitted into the view
/// and centred. A secondary subtitle is mirrored from bottom to top and back, and if that leaves it
/// in the middle, from left to right too, so that it does not overlap the primary one.
CGRect placeImageSubtitle(const ImageSubtitlePlacement& placement, const CGSize& viewSize);

/// Rounds the rectangle to whole device pixels, of which each unit has `devicePixelRatio`: edges
/// move to the nearest pixel, so that adjacent rectangles stay adjacent, and a rectangle that is
/// not empty keeps at least one pixel. An empty rectangle, or one beyond any screen, becomes empty.
QRect wholeDevicePixels(const CGRect& rect, double devicePixelRatio);

} // namespace zelvane
