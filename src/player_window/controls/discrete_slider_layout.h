// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <optional>
#include <vector>

#include "foundation/geometry.h"

namespace zelvane {

/// The labels of a slider with one tick for each item. Sizes are points; an item without a label
/// has none.
struct DiscreteSliderLabels {
    static constexpr double kMinimumSpacing = 13;

    std::vector<std::optional<CGSize>> sizes;

    double widest() const;
    double tallest() const;
};

enum class TickMarkPosition { below, above };

/// The x of `count` ticks at equal distances, the first and the last `margin` from the ends of the
/// width. One tick is in the middle.
std::vector<double> discreteSliderTicks(std::size_t count, double width, double margin);

/// The index of the tick or value nearest to `position`; of two equally near ones the lower.
/// `values` must not be empty.
std::size_t nearestIndex(const std::vector<double>& values, double position);

/// Room for a label of the widest size at every item, and for the slider.
CGSize discreteSliderSize(const DiscreteSliderLabels& labels, double sliderHeight);

/// Where the labels are, with y downward: under ticks below the slider, over ticks above it. Each
/// is centred on its tick, but stays inside the width. `tickPositions` has one x for each item.
std::vector<std::optional<CGRect>>
layOutDiscreteSliderLabels(const DiscreteSliderLabels& labels,
                           const std::vector<double>& tickPositions, double width,
                           double sliderHeight, TickMarkPosition position);

} // namespace zelvane
