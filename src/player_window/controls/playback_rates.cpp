// SPDX-License-Identifier: GPL-3.0-or-later
#include "player_window/controls/playback_rates.h"

#include <algorithm>
#include <cmath>

namespace zelvane {

std::size_t nearestPlaybackRate(float rate) {
    const auto nearest =
        std::ranges::min_element(kPlaybackRates, {}, [rate](const PlaybackRate& item) {
            return std::abs(item.rate - rate);
        });
    return static_cast<std::size_t>(nearest - kPlaybackRates.begin());
}

float playbackRateAbove(float rate) {
    const auto above =
        std::ranges::find_if(kPlaybackRates, [rate](const auto& item) { return item.rate > rate; });
    return above == kPlaybackRates.end() ? kPlaybackRates.back().rate : above->rate;
}

float playbackRateBelow(float rate) {
    const auto end = std::ranges::find_if(kPlaybackRates,
                                          [rate](const auto& item) { return item.rate >= rate; });
    return end == kPlaybackRates.begin() ? kPlaybackRates.front().rate : (end - 1)->rate;
}

} // namespace zelvane
