// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "foundation/geometry.h"

namespace zelvane {

/// Where a picture lies on a surface, in the surface's device pixels with y downward.
struct PictureLayout {
    /// Whole pixels; what of the surface lies outside stays black.
    CGRect target;
    /// From the decoded picture as a unit square to the surface.
    CGAffineTransform pictureToSurface;
};

/// A picture's orientation where a surface knows quarter turns alone: mirrored left to right first,
/// then turned clockwise.
struct PictureOrientation {
    int quarterTurns = 0;
    bool isMirrored = false;
    friend bool operator==(const PictureOrientation&, const PictureOrientation&) = default;
};

/// The largest place of the picture's own shape in the middle of the surface. `bounds` is the
/// picture in square pixels before `transform`. An empty picture or surface has an empty place.
PictureLayout layOutPicture(const CGRect& bounds, const CGAffineTransform& transform,
                            const CGSize& surface);

/// The nearest orientation of quarter turns.
PictureOrientation pictureOrientation(const CGAffineTransform& transform);

} // namespace zelvane
