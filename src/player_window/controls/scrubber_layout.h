// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "foundation/geometry.h"
#include "player_window/controls/pixel_grid.h"

namespace zelvane {

/// Measures of the scrubber, in points.
struct ScrubberMetrics {
    static constexpr double kBarHeight = 3;
    static constexpr double kBarCornerRadius = 1.5;
    static constexpr double kKnobTrackingWidth = 6;
    static constexpr double kKnobTrackingHeight = 18.5;
    static constexpr double kKnobWidth = 3;
    static constexpr double kKnobHeight = 15.5;
    static constexpr double kKnobCornerRadius = 1.5;
    static constexpr double kGap = 1.25;
    /// The height that a scrubber asks for.
    static constexpr double kHeight = kKnobTrackingHeight;
};

/// The parts of a scrubber, in points of its widget with y downward.
struct ScrubberLayout {
    CGRect barRect;
    /// What of the bar is painted before and after the knob.
    CGRect barLeftClipRect;
    CGRect barRightClipRect;
    /// The left edge of the knob moves along its width.
    CGRect knobPathTrackingRect;
    CGRect knobRect;
    /// A press in it takes the knob.
    CGRect knobTrackingRect;
};

/// `fraction` is 0…1. Without `increasedContrast` there is a gap on both sides of the knob.
ScrubberLayout layOutScrubber(const CGSize& size, double fraction, const PixelGrid& grid,
                              bool increasedContrast);

} // namespace zelvane
