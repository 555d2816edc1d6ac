// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>

namespace zelvane::inspect {

/// The resources that this process has used so far.
struct ProcessUsage {
    /// User and system time of all threads.
    double cpuSeconds = 0;
    /// The largest resident set, in bytes.
    std::int64_t peakMemory = 0;

    static ProcessUsage now();
};

} // namespace zelvane::inspect
