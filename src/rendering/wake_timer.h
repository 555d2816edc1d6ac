// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <memory>

#include "foundation/host_clock.h"

namespace zelvane {

/// One alarm that can be moved: the seam between the clock's rules and real waiting.
class WakeTimer {
  public:
    virtual ~WakeTimer() = default;
    /// Called once, before the first wakeAt. After the timer's destruction the handler is not
    /// running and is never called again.
    virtual void setHandler(std::function<void()> handler) = 0;
    /// Calls the handler once, on a thread of the timer, at or after `when`; replaces the alarm
    /// that was set before. HostTime::max() is never.
    virtual void wakeAt(HostTime when) = 0;

    /// A thread that sleeps on CLOCK_MONOTONIC. Must not be destroyed by its own handler.
    static std::unique_ptr<WakeTimer> makeThread();
};

} // namespace zelvane
