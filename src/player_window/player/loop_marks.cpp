// SPDX-License-Identifier: GPL-3.0-or-later
#include "player_window/player/loop_marks.h"

#include <algorithm>

namespace zelvane {
namespace {

constexpr CMTime kShortestLoop(1, 10);
/// From the end of the loop to that of the media: the clock must cross the one before the other.
constexpr CMTime kGapAtEnd(1, 20);

} // namespace

LoopMarks marksAfterKey(const LoopMarks& marks, const CMTime& now, const CMTime& duration) {
    if (!marks.start) {
        return {now, std::nullopt};
    }
    if (marks.end) {
        return {};
    }
    const auto [earlier, later] = std::minmax(*marks.start, now);
    const LoopMarks loop{earlier, std::min(later, duration - kGapAtEnd)};
    return *loop.end - *loop.start < kShortestLoop ? LoopMarks() : loop;
}

} // namespace zelvane
