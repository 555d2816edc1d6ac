// SPDX-License-Identifier: GPL-3.0-or-later
#include "player_window/window/window_sizing.h"

#include <algorithm>
#include <cmath>

#include "player_window/views/player_view_layout.h"

namespace zelvane {
namespace {

constexpr CGSize kSizeWithoutPicture{640, 480};

bool hasArea(const CGSize& size) {
    return size.width > 0 && size.height > 0;
}

bool isInside(const CGRect& rect, const CGRect& area) {
    return rect.x >= area.x && rect.y >= area.y && rect.x + rect.width <= area.x + area.width &&
           rect.y + rect.height <= area.y + area.height;
}

/// Whether a pointer can grab the title bar of the window there.
bool hasTitleBarIn(const CGRect& window, const CGRect& area) {
    constexpr double kLeastWidth = 100;
    constexpr double kLeastHeight = kTitleBarHeight / 2;
    const double width =
        std::min(window.x + window.width, area.x + area.width) - std::max(window.x, area.x);
    const double height =
        std::min(window.y + kTitleBarHeight, area.y + area.height) - std::max(window.y, area.y);
    return width >= std::min(window.width, kLeastWidth) && height >= kLeastHeight;
}

double distanceOfCentres(const CGRect& a, const CGRect& b) {
    return std::hypot(a.x + a.width / 2 - b.x - b.width / 2,
                      a.y + a.height / 2 - b.y - b.height / 2);
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

CGRect cascadedWithin(const CGRect& window, const std::vector<CGRect>& others,
                      const CGRect& workArea) {
    const auto isTaken = [&others](const CGRect& place) {
        return std::ranges::any_of(others, [&place](const CGRect& other) {
            return std::abs(other.x - place.x) < kTitleBarHeight &&
                   std::abs(other.y - place.y) < kTitleBarHeight;
        });
    };
    CGRect place = window;
    bool isAtCorner = false;
    while (isTaken(place)) {
        place.x += kTitleBarHeight;
        place.y += kTitleBarHeight;
        if (isInside(place, workArea)) {
            continue;
        }
        if (isAtCorner) {
            return window;
        }
        isAtCorner = true;
        place.x = workArea.x;
        place.y = workArea.y;
    }
    return isInside(place, workArea) ? place : window;
}

CGRect reachableWithin(const CGRect& window, const std::vector<CGRect>& workAreas) {
    const bool isReachable = std::ranges::any_of(
        workAreas, [&window](const CGRect& area) { return hasTitleBarIn(window, area); });
    if (isReachable || workAreas.empty()) {
        return window;
    }
    const CGRect area = *std::ranges::min_element(
        workAreas, {}, [&window](const CGRect& each) { return distanceOfCentres(window, each); });
    const CGSize size =
        contentSizeWithin({window.width, window.height}, {}, {area.width, area.height});
    return {std::clamp(window.x, area.x, area.x + area.width - size.width),
            std::clamp(window.y, area.y, area.y + area.height - size.height), size.width,
            size.height};
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
