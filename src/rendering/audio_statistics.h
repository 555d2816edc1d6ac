// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>

namespace zelvane {

/// How well sound has kept up since its renderer was made.
struct AudioStatistics {
    /// How often sound was wanted and none was there: the queue was empty while its provider was
    /// still asked for more, or the device ran dry.
    std::uint64_t underruns = 0;
    /// How often sound was placed anew on a running clock.
    std::uint64_t joins = 0;
    /// Seconds between the clock and what was heard, at `clockErrorCount` measurements.
    double meanClockError = 0;
    double maxClockError = 0;
    std::uint64_t clockErrorCount = 0;
};

} // namespace zelvane
