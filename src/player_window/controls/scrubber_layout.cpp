// SPDX-License-Identifier: GPL-3.0-or-later
#include "player_window/controls/scrubber_layout.h"

#include <algorithm>

namespace zelvane {
namespace {

using M = ScrubberMetrics;

CGRect inset(const CGRect& rect, double dx, double dy) {
    return {rect.x + dx, rect.y + dy, rect.width - 2 * dx, rect.height - 2 * dy};
}

CGRect leftPart(const CGRect& bar, double right) {
    return {bar.x, bar.y, std::max(right - bar.x, 0.0), bar.height};
}

CGRect rightPart(const CGRect& bar, double left) {
    return {left, bar.y, std::max(bar.x + bar.width - left, 0.0), bar.height};
}

} // namespace

ScrubberLayout layOutScrubber(const CGSize& size, double fraction, const PixelGrid& grid,
                              bool increasedContrast) {
    ScrubberLayout layout;
    const CGRect bounds{0, 0, size.width, size.height};
    layout.barRect = grid.aligned(inset(bounds, 0, (size.height - M::kBarHeight) / 2));
    // At a fractional scale the rounded width would end outside the widget, which clips it.
    layout.barRect.width = std::min(layout.barRect.width, grid.inside(bounds).width);
    layout.knobPathTrackingRect = {layout.barRect.x + M::kKnobWidth / 2, 0,
                                   std::max(layout.barRect.width - M::kKnobWidth, 0.0),
                                   size.height};
    const CGRect knob{layout.knobPathTrackingRect.width * fraction,
                      (size.height - M::kKnobHeight) / 2, M::kKnobWidth, M::kKnobHeight};
    layout.knobTrackingRect = grid.aligned(inset(knob, (M::kKnobWidth - M::kKnobTrackingWidth) / 2,
                                                 (M::kKnobHeight - M::kKnobTrackingHeight) / 2));
    layout.knobRect = grid.aligned(knob);

    const CGRect& aligned = layout.knobRect;
    const double middle = aligned.x + aligned.width / 2;
    layout.barLeftClipRect =
        grid.aligned(leftPart(layout.barRect, increasedContrast ? middle : aligned.x - M::kGap));
    // Outward on the right: both sides then leave the same gap.
    layout.barRightClipRect = grid.aligned(
        rightPart(layout.barRect, increasedContrast ? middle : aligned.x + aligned.width + M::kGap),
        increasedContrast ? PixelGrid::MinX::inward : PixelGrid::MinX::outward);
    return layout;
}

} // namespace zelvane
