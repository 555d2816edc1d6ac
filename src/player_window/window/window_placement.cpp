// SPDX-License-Identifier: GPL-3.0-or-later
#include "player_window/window/window_placement.h"

#include <algorithm>
#include <cmath>
#include <string_view>

namespace zelvane {
namespace {

constexpr std::string_view kFrameKey = "zelvane.MediaPlayerWindow.frame";
constexpr std::string_view kFullScreenKey = "zelvane.MediaPlayerWindow.isFullScreen";
constexpr std::string_view kMaximizedKey = "zelvane.MediaPlayerWindow.isMaximized";

/// X11 has no larger windows.
constexpr std::int64_t kMaximumLength = 32767;

std::optional<double> decodeLength(std::string_view key, std::int64_t minimum,
                                   const StateCoder& coder) {
    const auto length = coder.decodeInteger(key);
    const bool isPossible = length && *length >= minimum && *length <= kMaximumLength;
    return isPossible ? std::optional(static_cast<double>(*length)) : std::nullopt;
}

} // namespace

void encodePlacement(const WindowPlacement& placement, StateCoder& coder) {
    StateCoder frame;
    frame.encodeInteger("x", std::llround(placement.frame.x));
    frame.encodeInteger("y", std::llround(placement.frame.y));
    frame.encodeInteger("width", std::llround(placement.frame.width));
    frame.encodeInteger("height", std::llround(placement.frame.height));
    coder.encodeState(kFrameKey, frame);
    coder.encodeBool(kFullScreenKey, placement.isFullScreen);
    coder.encodeBool(kMaximizedKey, placement.isMaximized);
}

std::optional<WindowPlacement> decodePlacement(const StateCoder& coder) {
    const StateCoder frame = coder.decodeState(kFrameKey).value_or(StateCoder());
    const auto x = decodeLength("x", -kMaximumLength, frame);
    const auto y = decodeLength("y", -kMaximumLength, frame);
    const auto width = decodeLength("width", 1, frame);
    const auto height = decodeLength("height", 1, frame);
    if (!x || !y || !width || !height) {
        return std::nullopt;
    }
    return WindowPlacement{.frame = {*x, *y, *width, *height},
                           .isFullScreen = coder.decodeBool(kFullScreenKey).value_or(false),
                           .isMaximized = coder.decodeBool(kMaximizedKey).value_or(false)};
}

std::optional<CGRect> workAreaOfTitleBar(const CGRect& frame,
                                         const std::vector<CGRect>& workAreas) {
    constexpr double kMiddleOfTitleBar = 20;
    const double x = frame.x + frame.width / 2;
    const double y = frame.y + kMiddleOfTitleBar;
    const auto found = std::ranges::find_if(workAreas, [x, y](const CGRect& area) {
        return x >= area.x && x < area.x + area.width && y >= area.y && y < area.y + area.height;
    });
    return found == workAreas.end() ? std::nullopt : std::optional(*found);
}

} // namespace zelvane
