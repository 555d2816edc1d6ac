// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>
#include <vector>

#include "foundation/geometry.h"

namespace zelvane {

/// What decides the size of a player window. Sizes are points of its content.
struct WindowContent {
    /// The smallest size that holds the controls.
    CGSize fittingSize;
    bool isResizable = false;
    /// Of the selected video track, as it is seen; none without one.
    std::optional<CGSize> effectiveVideoSize;
};

/// The fitting size, made larger in one direction to the shape of the picture.
CGSize minimumContentSize(const WindowContent& content);

/// The picture's own size, 640 × 480 without a picture; the minimum size where that is larger in
/// either direction.
CGSize preferredContentSize(const WindowContent& content);

/// The content size that fits the work area of a screen, frame included, without enlarging it and
/// in its own shape. `chrome` is what the frame adds to the content.
CGSize contentSizeWithin(const CGSize& content, const CGSize& chrome, const CGSize& workArea);

/// A window of `size` in the middle of the work area, at whole points.
CGRect centredWithin(const CGSize& size, const CGRect& workArea);

/// The place of a new window that leaves the title bars of the others visible: `window` itself, or
/// down and to the right of it, or of the corner of the work area. `window` where there is no such
/// place within the work area.
CGRect cascadedWithin(const CGRect& window, const std::vector<CGRect>& others,
                      const CGRect& workArea);

/// The place of a window after a screen was removed or changed: unchanged while its title bar can
/// be dragged in one of the work areas; else inside the nearest of them, smaller if need be.
CGRect reachableWithin(const CGRect& window, const std::vector<CGRect>& workAreas);

/// The largest size of the shape `aspect` inside a proposal.
CGSize sizeOfAspectWithin(const CGSize& aspect, const CGSize& proposal);

/// That size, if the proposal is more than a rounding away from the shape; else none. A corrected
/// size needs no further correction.
std::optional<CGSize> correctionToAspect(const CGSize& aspect, const CGSize& proposal);

} // namespace zelvane
