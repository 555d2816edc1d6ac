// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>

#include <QRect>

#include "foundation/geometry.h"

namespace zelvane {

/// Where a subtitle picture lies, with the origin at the top left everywhere.
struct ImageSubtitlePlacement {
    /// On the picture that it was made for.
    CGRect imageFrame;
    /// The size of that picture; none where nobody knows it, and then the subtitle has its own size
    /// on the view.
    std::optional<CGSize> videoSize;
    bool isPrimarySubtitle = true;
};

/// The place on a view of this size, in the view's units. The picture is fitted into the view and
/// centred. A secondary subtitle changes from bottom to top and back, and where that leaves it on
/// the middle, from left to right too, so that it keeps clear of the primary one.
CGRect placeImageSubtitle(const ImageSubtitlePlacement& placement, const CGSize& viewSize);

/// The rectangle on whole device pixels, of which each unit has `devicePixelRatio`: edges go to the
/// nearest, so that neighbours stay neighbours, and what is not empty keeps at least one pixel. An
/// empty one, or one that no screen could hold, is empty.
QRect wholeDevicePixels(const CGRect& rect, double devicePixelRatio);

} // namespace zelvane
