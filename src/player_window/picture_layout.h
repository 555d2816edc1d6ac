// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "foundation/geometry.h"

namespace zelvane {

/// The place of a picture on a surface, in device pixels with y downward.
struct PictureLayout {
    /// In whole pixels; the surface around it is black.
    CGRect target;
    /// From the decoded picture as a unit square to the surface.
    CGAffineTransform pictureToSurface;
};

/// A picture's orientation in quarter turns: mirrored left to right first, then turned clockwise.
struct PictureOrientation {
    int quarterTurns = 0;
    bool isMirrored = false;
    friend bool operator==(const PictureOrientation&, const PictureOrientation&) = default;
};

/// The largest centred place with the picture's aspect ratio. `bounds` is the picture in square
/// pixels before `transform`. An empty picture or surface has an empty place.
PictureLayout layOutPicture(const CGRect& bounds, const CGAffineTransform& transform,
                            const CGSize& surface);

/// The nearest orientation of quarter turns.
PictureOrientation pictureOrientation(const CGAffineTransform& transform);

} // namespace zelvane
