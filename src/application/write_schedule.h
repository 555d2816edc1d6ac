// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <algorithm>
#include <optional>
#include <utility>

#include "foundation/host_clock.h"

namespace zelvane {

/// When to write what changes: soon, and at most once an interval. A value; the caller has the
/// clock and the timer.
class WriteSchedule {
  public:
    explicit WriteSchedule(HostDuration interval) : interval_(interval) {}

    /// How long to wait until the write that this change asks for; none when the wait of an earlier
    /// change has not ended, which serves for both.
    std::optional<HostDuration> didChange(HostTime now) {
        if (std::exchange(isWaiting_, true)) {
            return std::nullopt;
        }
        const HostTime next = lastWrite_ ? *lastWrite_ + interval_ : now;
        return std::max(next - now, HostDuration::zero());
    }
    /// A later change asks for another write.
    void willWrite(HostTime now) {
        isWaiting_ = false;
        lastWrite_ = now;
    }

  private:
    HostDuration interval_;
    std::optional<HostTime> lastWrite_;
    bool isWaiting_ = false;
};

} // namespace zelvane
