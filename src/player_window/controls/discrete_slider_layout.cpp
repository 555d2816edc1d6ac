// SPDX-License-Identifier: GPL-3.0-or-later
#include "player_window/controls/discrete_slider_layout.h"

#include <algorithm>
#include <cmath>

namespace zelvane {

double DiscreteSliderLabels::widest() const {
    double width = 0;
    for (const auto& size : sizes) {
        width = size ? std::max(width, size->width) : width;
    }
    return width;
}

double DiscreteSliderLabels::tallest() const {
    double height = 0;
    for (const auto& size : sizes) {
        height = size ? std::max(height, size->height) : height;
    }
    return height;
}

std::vector<double> discreteSliderTicks(std::size_t count, double width, double margin) {
    std::vector<double> ticks(count, width / 2);
    for (std::size_t index = 0; count > 1 && index < count; ++index) {
        const double share = static_cast<double>(index) / static_cast<double>(count - 1);
        ticks[index] = margin + share * (width - 2 * margin);
    }
    return ticks;
}

std::size_t nearestIndex(const std::vector<double>& values, double position) {
    const auto nearest = std::ranges::min_element(
        values, {}, [position](double value) { return std::abs(value - position); });
    return static_cast<std::size_t>(nearest - values.begin());
}

CGSize discreteSliderSize(const DiscreteSliderLabels& labels, double sliderHeight) {
    const auto count = static_cast<double>(labels.sizes.size());
    return {DiscreteSliderLabels::kMinimumSpacing * (count - 1) + labels.widest() * count,
            sliderHeight + labels.tallest()};
}

std::vector<std::optional<CGRect>>
layOutDiscreteSliderLabels(const DiscreteSliderLabels& labels,
                           const std::vector<double>& tickPositions, double width,
                           double sliderHeight, TickMarkPosition position) {
    std::vector<std::optional<CGRect>> rects(labels.sizes.size());
    const double y = position == TickMarkPosition::below ? sliderHeight : 0;
    for (std::size_t index = 0; index < rects.size(); ++index) {
        if (const auto& size = labels.sizes[index]) {
            const double x = std::clamp(tickPositions[index] - size->width / 2, 0.0,
                                        std::max(width - size->width, 0.0));
            rects[index] = CGRect{x, y, size->width, labels.tallest()};
        }
    }
    return rects;
}

} // namespace zelvane
