// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>
#include <string>

#include "foundation/cm_time.h"

namespace zelvane {

/// One subtitle with its time on the file's time line. Immutable, shared between threads.
struct SubtitlesFrame {
    CMTime startTime;
    /// Positive infinity when nothing says how long it stays.
    CMTime endTime;
    /// The lines as plain text.
    std::string text;
};

using SubtitlesFrameRef = std::shared_ptr<const SubtitlesFrame>;

} // namespace zelvane
