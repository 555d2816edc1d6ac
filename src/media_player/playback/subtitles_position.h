// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

namespace zelvane {

enum class SubtitlesPosition {
    /// At the bottom.
    primary,
    /// At the top.
    secondary,
};

constexpr SubtitlesPosition otherPosition(SubtitlesPosition position) {
    return position == SubtitlesPosition::primary ? SubtitlesPosition::secondary
                                                  : SubtitlesPosition::primary;
}

} // namespace zelvane
