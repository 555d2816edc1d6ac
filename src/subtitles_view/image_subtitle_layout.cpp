// SPDX-License-Identifier: GPL-3.0-or-later
#include "subtitles_view/image_subtitle_layout.h"

#include <algorithm>
#include <cmath>

namespace zelvane {
namespace {

double fittingScale(const CGSize& videoSize, const CGSize& viewSize) {
    const double scale =
        std::min(viewSize.width / videoSize.width, viewSize.height / videoSize.height);
    return scale > 0 && std::isfinite(scale) ? scale : 1.0;
}

/// Mirrors the rectangle in `area`.
CGRect toTheOtherSide(CGRect rect, const CGSize& area) {
    rect.y = area.height - (rect.y + rect.height);
    const double middle = area.height * 0.5;
    if (rect.y <= middle && middle < rect.y + rect.height) {
        rect.x = area.width - (rect.x + rect.width);
    }
    return rect;
}

} // namespace

CGRect placeImageSubtitle(const ImageSubtitlePlacement& placement, const CGSize& viewSize) {
    const auto& videoSize = placement.videoSize;
    const double scale = videoSize ? fittingScale(*videoSize, viewSize) : 1.0;
    const CGSize area =
        videoSize ? CGSize{videoSize->width * scale, videoSize->height * scale} : viewSize;
    const CGRect& frame = placement.imageFrame;
    CGRect rect{frame.x * scale, frame.y * scale, frame.width * scale, frame.height * scale};
    if (!placement.isPrimarySubtitle) {
        rect = toTheOtherSide(rect, area);
    }
    if (videoSize) {
        rect.x += (viewSize.width - area.width) * 0.5;
        rect.y += (viewSize.height - area.height) * 0.5;
    }
    return rect;
}

QRect wholeDevicePixels(const CGRect& rect, double devicePixelRatio) {
    // Beyond any screen, and without overflow of an int.
    constexpr double kFarthest = 1 << 24;
    const double left = std::round(rect.x * devicePixelRatio);
    const double top = std::round(rect.y * devicePixelRatio);
    const double right = std::round((rect.x + rect.width) * devicePixelRatio);
    const double bottom = std::round((rect.y + rect.height) * devicePixelRatio);
    const bool isWithinReach =
        left > -kFarthest && top > -kFarthest && right < kFarthest && bottom < kFarthest;
    if (!(rect.width > 0) || !(rect.height > 0) || !isWithinReach) {
        return {};
    }
    return {static_cast<int>(left), static_cast<int>(top),
            std::max(static_cast<int>(right - left), 1),
            std::max(static_cast<int>(bottom - top), 1)};
}

} // namespace zelvane
