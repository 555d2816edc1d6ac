// SPDX-License-Identifier: GPL-3.0-or-later
#include "player_window/tracks/tracks_popover_layout.h"

#include <algorithm>
#include <array>

#include "player_window/views/player_view_layout.h"

namespace zelvane {
namespace {

constexpr double kWidth = 330;
constexpr double kGapOverPanel = 10;
constexpr double kWindowMargin = 8;
/// A lower popover would show too few rows.
constexpr double kLeastHeight = 180;

struct Span {
    double top;
    double bottom;
    double height() const { return bottom - top; }
};

Span verticalSpan(const CGRect& panel, const CGSize& window, double wantedHeight) {
    const double lowest = window.height - kWindowMargin;
    const std::array<Span, 3> spans{{{kTitleBarHeight, panel.y - kGapOverPanel},
                                     {kTitleBarHeight, lowest},
                                     {kWindowMargin, lowest}}};
    const double enough = std::min(wantedHeight, kLeastHeight);
    const auto* span = std::ranges::find_if(
        spans, [enough](const Span& candidate) { return candidate.height() >= enough; });
    return span == spans.end() ? spans.back() : *span;
}

} // namespace

CGRect tracksPopoverRect(const CGRect& button, const CGRect& panel, const CGSize& window,
                         double wantedHeight) {
    const double width = std::min(kWidth, std::max(window.width - 2 * kWindowMargin, 0.0));
    const double left = std::max(panel.x, kWindowMargin);
    const double right =
        std::max(std::min(panel.x + panel.width, window.width - kWindowMargin) - width, left);
    const double x = std::clamp(button.x + button.width / 2 - width / 2, left, right);
    const Span span = verticalSpan(panel, window, wantedHeight);
    const double height = std::clamp(wantedHeight, 0.0, std::max(span.height(), 0.0));
    return {x, span.bottom - height, width, height};
}

} // namespace zelvane
