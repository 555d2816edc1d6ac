// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>

#include "foundation/cm_time.h"

namespace zelvane {

/// A part of the media that is played again and again, in times since its start.
struct LoopMarks {
    std::optional<CMTime> start = std::nullopt;
    std::optional<CMTime> end = std::nullopt;
    friend bool operator==(const LoopMarks&, const LoopMarks&) = default;
};

/// The marks after the key at the time `now`: the first press sets one, the second the other,
/// whichever is earlier, the third removes both. The end is before that of the media, where playing
/// stops; a loop shorter than 0.1 s is removed.
LoopMarks marksAfterKey(const LoopMarks& marks, const CMTime& now, const CMTime& duration);

} // namespace zelvane
