// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <vector>

#include "foundation/cm_time.h"
#include "rendering/render_synchronizer.h"

namespace zelvane {

/// Decides which time observers fire as a clock moves. Has no thread and no clock: the owner
/// reports each change of the anchor, and calls advance() at wakeTime() or at any other moment.
///
/// While the clock runs, a boundary fires when `last < boundary <= now`, and a period when the time
/// has grown by at least the interval, once for any number of intervals. A jump fires no boundary.
class ObserverSchedule {
  public:
    using Id = std::uint64_t;
    struct Firing {
        Id observer;
        CMTime time;
    };

    /// An observer whose interval is not a positive number fires on changes only.
    Id addPeriodic(const CMTime& interval, HostTime now);
    /// Times that are not numbers never fire.
    Id addBoundary(std::vector<CMTime> times);
    void remove(Id observer);

    /// The firings up to `now`, in the order of the observers.
    std::vector<Firing> advance(HostTime now);
    /// Replaces the anchor at `now`. Returns the firings up to `now` and those of the change.
    std::vector<Firing> timelineDidChange(const TimelineAnchor& anchor,
                                          SynchronizedRenderer::Change change, HostTime now);
    /// When the next firing is due; HostTime::max() for never.
    HostTime wakeTime() const;

  private:
    struct Periodic {
        CMTime interval;
        /// Invalid for none.
        CMTime next;
    };

    void firePeriodics(const CMTime& time, std::vector<Firing>& firings);
    void fireBoundaries(const CMTime& time, std::vector<Firing>& firings);
    void restartPeriods(const CMTime& time);

    TimelineAnchor anchor_;
    /// The time of the latest advance().
    CMTime seen_ = kCMTimeZero;
    Id nextId_ = 1;
    std::map<Id, Periodic> periodics_;
    /// Sorted.
    std::map<Id, std::vector<CMTime>> boundaries_;
};

} // namespace zelvane
