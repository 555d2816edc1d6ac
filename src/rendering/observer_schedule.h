// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <vector>

#include "foundation/cm_time.h"
#include "rendering/render_synchronizer.h"

namespace zelvane {

/// Which time observers fire when a clock moves: rules alone, no thread, no waiting. The owner
/// tells it of each change of the line and asks it, at wakeTime() or whenever it likes, what is
/// due.
///
/// Time that runs fires a boundary at `last < boundary <= now` and a period each time it has grown
/// by the interval, once however many intervals went by. Time that jumps crosses nothing.
class ObserverSchedule {
  public:
    using Id = std::uint64_t;
    struct Firing {
        Id observer;
        CMTime time;
    };

    /// An interval that is not a positive number fires on changes only.
    Id addPeriodic(const CMTime& interval, HostTime now);
    /// Times that are not numbers never fire.
    Id addBoundary(std::vector<CMTime> times);
    void remove(Id observer);

    /// What time that ran up to `now` makes fire, in the order of the observers.
    std::vector<Firing> advance(HostTime now);
    /// Ends the old line at `now` and takes the new one. Answers what the old line's last stretch
    /// and the change itself make fire.
    std::vector<Firing> timelineDidChange(const TimelineAnchor& anchor,
                                          SynchronizedRenderer::Change change, HostTime now);
    /// When advance() has something to do next; HostTime::max() for never.
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
    /// Up to where time has been seen to run.
    CMTime seen_ = kCMTimeZero;
    Id nextId_ = 1;
    std::map<Id, Periodic> periodics_;
    /// Sorted.
    std::map<Id, std::vector<CMTime>> boundaries_;
};

} // namespace zelvane
