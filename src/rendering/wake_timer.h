// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <memory>

#include "foundation/host_clock.h"

namespace zelvane {

/// Interface of a timer with one alarm; tests ring it by hand.
class WakeTimer {
  public:
    virtual ~WakeTimer() = default;
    /// To be called once, before the first wakeAt(). The destructor waits for a running call of the
    /// handler; no call follows.
    virtual void setHandler(std::function<void()> handler) = 0;
    /// Calls the handler once, on a thread of the timer, at or after `when`. Replaces the alarm
    /// that was set before. HostTime::max() means never.
    virtual void wakeAt(HostTime when) = 0;

    /// A thread that sleeps on CLOCK_MONOTONIC. Must not be destroyed by its own handler.
    static std::unique_ptr<WakeTimer> makeThread();
};

} // namespace zelvane
