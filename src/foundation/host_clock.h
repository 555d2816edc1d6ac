// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <chrono>
#include <memory>

namespace zelvane {

using HostDuration = std::chrono::nanoseconds;
/// A moment on the monotonic clock of this machine, since an arbitrary origin.
using HostTime = std::chrono::nanoseconds;

/// Interface of the monotonic clock; tests set their own time. Any thread.
class HostClock {
  public:
    virtual ~HostClock() = default;
    virtual HostTime now() const = 0;

    /// CLOCK_MONOTONIC.
    static std::shared_ptr<HostClock> system();
};

} // namespace zelvane
