// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <cstddef>
#include <string_view>

namespace zelvane {

/// One rate that a person can choose.
struct PlaybackRate {
    float rate;
    /// The label at its tick; empty at a tick without one.
    std::string_view title;
    std::string_view accessibilityLabel;
};

inline constexpr std::array<PlaybackRate, 7> kPlaybackRates{{
    {0.5F, "0.5×", "0.5 times normal rate"},
    {0.75F, "", "0.75 times normal rate"},
    {1.0F, "1×", "1 times normal rate"},
    {1.25F, "", "1.25 times normal rate"},
    {1.5F, "", "1.5 times normal rate"},
    {1.75F, "", "1.75 times normal rate"},
    {2.0F, "2×", "2 times normal rate"},
}};

/// The index into kPlaybackRates; of two equally near rates the lower.
std::size_t nearestPlaybackRate(float rate);

/// The next higher or lower rate of the list; the last one at its end.
float playbackRateAbove(float rate);
float playbackRateBelow(float rate);

} // namespace zelvane
