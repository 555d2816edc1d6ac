// SPDX-License-Identifier: GPL-3.0-or-later
#include "player_window/controls/scrubber_model.h"

#include <algorithm>
#include <cmath>

namespace zelvane {
namespace {

double clampedFraction(double fraction) {
    return std::isnan(fraction) ? 0 : std::clamp(fraction, 0.0, 1.0);
}

bool contains(const CGRect& rect, double x, double y) {
    return x >= rect.x && x < rect.x + rect.width && y >= rect.y && y < rect.y + rect.height;
}

/// What of a movement by `delta` from `previousX` is within the path. None while the pointer stays
/// beyond the end that it was beyond before.
std::optional<double> deltaWithinPath(double previousX, double delta, const CGRect& path) {
    const double right = path.x + path.width;
    if (previousX > right) {
        const double overshoot = previousX - right;
        return delta >= -overshoot ? std::nullopt : std::optional(delta + overshoot);
    }
    if (previousX < path.x) {
        const double overshoot = path.x - previousX;
        return delta <= overshoot ? std::nullopt : std::optional(delta - overshoot);
    }
    return delta;
}

} // namespace

double ScrubberModel::range() const {
    return std::max(maxValue - minValue, 0.0);
}

double ScrubberModel::fraction() const {
    return clampedFraction((value_ - minValue) / range());
}

double ScrubberModel::valueOf(double fraction) const {
    return minValue + clampedFraction(fraction) * range();
}

double ScrubberModel::valueAt(double x, const ScrubberLayout& layout) const {
    const CGRect& path = layout.knobPathTrackingRect;
    return valueOf((x - path.x) / path.width);
}

bool ScrubberModel::setValueByGesture(double value) {
    const auto [least, greatest] = std::minmax(minValue, maxValue);
    const double clamped = std::clamp(value, least, greatest);
    if (clamped == value_) {
        return false;
    }
    value_ = clamped;
    return true;
}

ScrubberOutcome ScrubberModel::press(double x, double y, const ScrubberLayout& layout) {
    isTracking_ = true;
    previousX_ = x;
    const bool moves = !contains(layout.knobTrackingRect, x, y);
    return {.didBeginTracking = true,
            .didChangeValue = moves && setValueByGesture(valueAt(x, layout))};
}

ScrubberOutcome ScrubberModel::drag(double x, const ScrubberLayout& layout) {
    if (!isTracking_) {
        return {};
    }
    const CGRect& path = layout.knobPathTrackingRect;
    const auto delta = deltaWithinPath(previousX_, x - previousX_, path);
    previousX_ = x;
    if (!delta) {
        return {};
    }
    return {.didChangeValue = setValueByGesture(valueOf(fraction() + *delta / path.width))};
}

ScrubberOutcome ScrubberModel::release() {
    const bool wasTracking = isTracking_;
    isTracking_ = false;
    return {.didEndTracking = wasTracking};
}

ScrubberOutcome ScrubberModel::scroll(const ScrubberScroll& scroll, const ScrubberLayout& layout) {
    const double width = layout.knobPathTrackingRect.width;
    const bool isFine = scrollingValueAmount && *scrollingValueAmount < range() / width;
    const double value = isFine ? value_ + scroll.delta * *scrollingValueAmount
                                : valueOf(fraction() + scroll.delta / width);
    return {.didBeginTracking = scroll.begins,
            .didChangeValue = setValueByGesture(value),
            .didEndTracking = scroll.ends};
}

ScrubberOutcome ScrubberModel::change(double value) {
    return {.didChangeValue = setValueByGesture(value)};
}

ScrubberOutcome ScrubberModel::step(double share) {
    return {.didChangeValue = setValueByGesture(valueOf(fraction() + share))};
}

} // namespace zelvane
