// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <mutex>
#include <optional>
#include <vector>

#include "rendering/render_synchronizer.h"

namespace zelvane::test {

/// Records each anchor of the clock.
class AnchorLog final : public SynchronizedRenderer {
  public:
    void timelineDidChange(const TimelineAnchor& anchor, Change /*change*/) override {
        const std::lock_guard lock(mutex_);
        anchors_.push_back(anchor);
    }

    /// The host time at which the clock showed `time`; none if it never did.
    std::optional<HostTime> dueTime(const CMTime& time) const {
        const std::lock_guard lock(mutex_);
        for (std::size_t i = 0; i < anchors_.size(); ++i) {
            const HostTime due = anchors_[i].hostTimeOf(time);
            const bool isLast = i + 1 == anchors_.size();
            if (due != HostTime::max() && (isLast || due < anchors_[i + 1].hostTime)) {
                return due;
            }
        }
        return std::nullopt;
    }

  private:
    mutable std::mutex mutex_;
    std::vector<TimelineAnchor> anchors_;
};

} // namespace zelvane::test
