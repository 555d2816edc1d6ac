// SPDX-License-Identifier: GPL-3.0-or-later
#include "player_window/controls/time_formatter.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

#include <fmt/format.h>

namespace zelvane {
namespace {

constexpr std::uint64_t kSecondsPerMinute = 60;
constexpr std::uint64_t kSecondsPerHour = 3600;

std::uint64_t wholeSeconds(double seconds) {
    // Times come from files: a damaged one must not end the process. 2^62 seconds is beyond any.
    constexpr double kLargest = 4611686018427387904.0;
    return std::isnan(seconds) ? 0
                               : static_cast<std::uint64_t>(std::min(std::abs(seconds), kLargest));
}

} // namespace

std::string TimeFormatter::string(double seconds) const {
    const std::uint64_t whole = wholeSeconds(seconds);
    const bool hasSign = !std::isnan(seconds) && std::signbit(seconds);
    std::string text = hasSign ? "-" : "";
    if (alwaysIncludeHours_ || whole >= kSecondsPerHour) {
        text += fmt::format("{:02}:", whole / kSecondsPerHour);
    }
    const std::uint64_t minutes = whole % kSecondsPerHour / kSecondsPerMinute;
    return text + fmt::format("{:02}:{:02}", minutes, whole % kSecondsPerMinute);
}

} // namespace zelvane
