// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <chrono>
#include <memory>

namespace zelvane {

using HostDuration = std::chrono::nanoseconds;
/// A point on the monotonic clock of this machine, as a distance from an arbitrary origin.
using HostTime = std::chrono::nanoseconds;

/// The seam to the monotonic clock: tests crank their own. Any thread.
class HostClock {
  public:
    virtual ~HostClock() = default;
    virtual HostTime now() const = 0;

    /// CLOCK_MONOTONIC.
    static std::shared_ptr<HostClock> system();
};

} // namespace zelvane
