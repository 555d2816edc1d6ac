// SPDX-License-Identifier: GPL-3.0-or-later
#include "player_window/views/player_view_layout.h"

#include <algorithm>

#include "player_window/controls/controls_layout.h"

namespace zelvane {
namespace {

/// Between the title bar and the panel, so that the smallest window still shows a part of its
/// picture. A picture of 16 to 9 is that high in the narrowest window.
constexpr double kLeastVisibleHeight = 82;
constexpr double kGapOverPanel = 8;
constexpr double kGapUnderTitleBar = 10;
constexpr double kGapUnderImage = 30;
constexpr double kGapUnderTitle = 1;

bool intersects(const CGRect& a, const CGRect& b) {
    return a.x < b.x + b.width && b.x < a.x + a.width && a.y < b.y + b.height &&
           b.y < a.y + a.height;
}

} // namespace

CGRect floatingControlsRect(const CGSize& view) {
    const double width = std::clamp(view.width - 2 * kFloatingControlsMargin,
                                    ControlsMetrics::kMinimumWidth, ControlsMetrics::kMaximumWidth);
    return {(view.width - width) / 2,
            view.height - kFloatingControlsMargin - ControlsMetrics::kHeight, width,
            ControlsMetrics::kHeight};
}

CGSize fittingVideoPlayerSize() {
    return {ControlsMetrics::kMinimumWidth + 2 * kFloatingControlsMargin,
            kTitleBarHeight + kLeastVisibleHeight + ControlsMetrics::kHeight +
                kFloatingControlsMargin};
}

CGSize audioPlayerSize() {
    return {ControlsMetrics::kMinimumWidth, kTitleBarHeight + ControlsMetrics::kHeight};
}

CGRect largestRectOfShape(const CGSize& shape, const CGSize& view) {
    if (!(shape.width > 0) || !(shape.height > 0)) {
        return {0, 0, view.width, view.height};
    }
    const double scale = std::min(view.width / shape.width, view.height / shape.height);
    const double width = std::min(shape.width * scale, view.width);
    const double height = std::min(shape.height * scale, view.height);
    return {(view.width - width) / 2, (view.height - height) / 2, width, height};
}

double subtitlesLift(const CGRect& text, const CGRect& panel, const CGRect& picture) {
    const CGRect withGap{panel.x, panel.y - kGapOverPanel, panel.width,
                         panel.height + kGapOverPanel};
    if (!intersects(text, withGap)) {
        return 0;
    }
    const double wanted = text.y + text.height - withGap.y;
    return std::max(std::min(wanted, text.y - picture.y), 0.0);
}

double subtitlesDrop(const CGRect& text, const CGRect& titleBar, const CGRect& picture) {
    const CGRect withGap{titleBar.x, titleBar.y, titleBar.width,
                         titleBar.height + kGapUnderTitleBar};
    if (!intersects(text, withGap)) {
        return 0;
    }
    const double wanted = withGap.y + withGap.height - text.y;
    const double room = picture.y + picture.height - (text.y + text.height);
    return std::max(std::min(wanted, room), 0.0);
}

ExternalPlaybackIndicatorLayout
layOutExternalPlaybackIndicator(const CGSize& view, const CGSize& image, const CGSize& title,
                                const std::optional<CGSize>& subtitle) {
    const double height = image.height + kGapUnderImage + title.height +
                          (subtitle ? kGapUnderTitle + subtitle->height : 0);
    double y = (view.height - height) / 2;
    const auto next = [&](const CGSize& part, double gap) {
        const double width = std::min(part.width, view.width);
        const CGRect rect{(view.width - width) / 2, y, width, part.height};
        y += part.height + gap;
        return rect;
    };
    ExternalPlaybackIndicatorLayout layout;
    layout.image = next(image, kGapUnderImage);
    layout.title = next(title, kGapUnderTitle);
    if (subtitle) {
        layout.subtitle = next(*subtitle, 0);
    }
    return layout;
}

} // namespace zelvane
