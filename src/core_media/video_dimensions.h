// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>

#include "foundation/geometry.h"

namespace zelvane {

/// The coded size of a picture, and the size at which it is displayed.
struct VideoDimensions {
    /// Stops the process when a size is below 1 or the ratio is not above 0.
    VideoDimensions(int width, int height, std::optional<CGAffineTransform> displayTransform,
                    double pixelAspectRatio);

    int width;
    int height;
    /// Width of a pixel over its height.
    double pixelAspectRatio;
    std::optional<CGAffineTransform> displayTransform;
    /// The picture in square pixels: it only ever grows in width or shrinks in height.
    CGSize squarePixelSize;
    /// squarePixelSize after the display transform.
    CGSize effectiveSize;
    /// Width over height of effectiveSize.
    double aspectRatio;
};

} // namespace zelvane
