// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QRect>

namespace zelvane {

/// The height of a pane's frame: that of its content, or what the screen has room for.
struct PaneHeight {
    int height = 0;
    /// Whether the content is higher than its frame.
    bool scrolls = false;
    friend bool operator==(const PaneHeight&, const PaneHeight&) = default;
};

/// `available` is the height of the screen's work area, and `around` that of the window without the
/// pane. In points.
PaneHeight paneHeightFor(int contentHeight, int available, int around);

/// How far a window must move up to be within the work area: its top edge stays where that is
/// possible, and never leaves the area.
int distanceUp(const QRect& frame, const QRect& workArea);

/// The milliseconds in which the window takes another height; 0 for at once.
int animationResizeTime(int oldHeight, int newHeight, bool reducesMotion);

} // namespace zelvane
