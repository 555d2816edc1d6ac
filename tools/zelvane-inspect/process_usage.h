// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>

namespace zelvane::inspect {

/// What this process has taken of the machine so far.
struct ProcessUsage {
    /// Of all threads, in user and system mode.
    double cpuSeconds = 0;
    /// The largest resident set, in bytes.
    std::int64_t peakMemory = 0;

    static ProcessUsage now();
};

} // namespace zelvane::inspect
