// SPDX-License-Identifier: GPL-3.0-or-later
#include "player_window/window/window_sizing.h"

#include <algorithm>
#include <cmath>

namespace zelvane {
namespace {

constexpr CGSize kSizeWithoutPicture{640, 480};

bool hasArea(const CGSize& size) {
    return size.width > 0 && size.height > 0;
}

} // namespace

CGSize minimumContentSize(const WindowContent& content) {
    CGSize size = content.fittingSize;
    const auto& video = content.effectiveVideoSize;
    if (!content.isResizable || !video || !hasArea(*video)) {
        return size;
    }
    const double aspectRatio = video->width / video->height;
    if (size.width < size.height * aspectRatio) {
        size.width = size.height * aspectRatio;
    } else {
        size.height = size.width / aspectRatio;
    }
    return size;
}

CGSize preferredContentSize(const WindowContent& content) {
    const CGSize minimum = minimumContentSize(content);
    if (!content.isResizable) {
        return minimum;
    }
    const CGSize natural = content.effectiveVideoSize.value_or(kSizeWithoutPicture);
    const bool isLarger = minimum.width < natural.width && minimum.height < natural.height;
    return isLarger ? natural : minimum;
}

CGSize contentSizeWithin(const CGSize& content, const CGSize& chrome, const CGSize& workArea) {
    const CGSize room{workArea.width - chrome.width, workArea.height - chrome.height};
    if (!hasArea(room)) {
        return content;
    }
    const double shrink = std::max({content.width / room.width, content.height / room.height, 1.0});
    return {content.width / shrink, content.height / shrink};
}

CGRect centredWithin(const CGSize& size, const CGRect& workArea) {
    // A window larger than the work area keeps its title bar in it.
    return {std::max(std::floor(workArea.x + (workArea.width - size.width) / 2), workArea.x),
            std::max(std::floor(workArea.y + (workArea.height - size.height) / 2), workArea.y),
            size.width, size.height};
}

CGSize sizeOfAspectWithin(const CGSize& aspect, const CGSize& proposal) {
    if (!hasArea(aspect) || !hasArea(proposal)) {
        return proposal;
    }
    const double scale = std::min(proposal.width / aspect.width, proposal.height / aspect.height);
    return {std::round(aspect.width * scale), std::round(aspect.height * scale)};
}

std::optional<CGSize> correctionToAspect(const CGSize& aspect, const CGSize& proposal) {
    constexpr double kRounding = 1;
    const CGSize size = sizeOfAspectWithin(aspect, proposal);
    const bool isNear =
        proposal.width - size.width <= kRounding && proposal.height - size.height <= kRounding;
    return isNear ? std::nullopt : std::optional(size);
}

} // namespace zelvane
