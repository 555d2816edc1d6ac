// SPDX-License-Identifier: GPL-3.0-or-later
#include "preferences_window/pane_resizing.h"

#include <algorithm>
#include <cstdlib>

namespace zelvane {

PaneHeight paneHeightFor(int contentHeight, int available, int around) {
    /// Less than this cannot be used, even on the smallest screen.
    constexpr int kLeast = 120;
    const int most = std::max(available - around, kLeast);
    return {std::min(contentHeight, most), contentHeight > most};
}

int distanceUp(const QRect& frame, const QRect& workArea) {
    const int below = frame.bottom() - workArea.bottom();
    return std::clamp(below, 0, std::max(frame.top() - workArea.top(), 0));
}

int animationResizeTime(int oldHeight, int newHeight, bool reducesMotion) {
    constexpr int kDistance = 150;
    constexpr int kTimeForDistance = 200;
    constexpr int kLongest = 300;
    const int time = std::abs(newHeight - oldHeight) * kTimeForDistance / kDistance;
    return reducesMotion ? 0 : std::min(time, kLongest);
}

} // namespace zelvane
