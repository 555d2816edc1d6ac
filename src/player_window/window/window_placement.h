// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>
#include <vector>

#include "foundation/geometry.h"
#include "foundation/state_coder.h"

namespace zelvane {

/// Where a window is. In points of the desktop.
struct WindowPlacement {
    /// While it is neither full screen nor maximised.
    CGRect frame;
    bool isFullScreen = false;
    bool isMaximized = false;
    friend bool operator==(const WindowPlacement&, const WindowPlacement&) = default;
};

/// Whole points only.
void encodePlacement(const WindowPlacement& placement, StateCoder& coder);
/// None without a frame that a window can have.
std::optional<WindowPlacement> decodePlacement(const StateCoder& coder);

/// The work area that has the middle of the window's title bar, by which the pointer can move the
/// window; none if it is outside of all.
std::optional<CGRect> workAreaOfTitleBar(const CGRect& frame, const std::vector<CGRect>& workAreas);

} // namespace zelvane
