// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>

namespace zelvane {

/// The quality of sound output since the renderer was made.
struct AudioStatistics {
    /// How often sound was missing: the queue was empty while its provider was asked for more, or
    /// the device had no data.
    std::uint64_t underruns = 0;
    /// How often sound started on a clock that was already running.
    std::uint64_t joins = 0;
    /// Seconds between the clock and what was heard, at `clockErrorCount` measurements.
    double meanClockError = 0;
    double maxClockError = 0;
    std::uint64_t clockErrorCount = 0;
};

} // namespace zelvane
