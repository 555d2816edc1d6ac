// SPDX-License-Identifier: GPL-3.0-or-later
#include "rendering/observer_schedule.h"

#include <algorithm>

namespace zelvane {
namespace {

/// The first point of the grid `next + n * interval` after `time`. Divides in place of counting: a
/// late call may have skipped many points.
CMTime nextPeriod(const CMTime& next, const CMTime& interval, const CMTime& time) {
    const double periods = (time - next).seconds() / interval.seconds();
    CMTime candidate = next + interval * static_cast<std::int64_t>(periods);
    while (candidate <= time) {
        candidate = candidate + interval;
    }
    return candidate;
}

} // namespace

ObserverSchedule::Id ObserverSchedule::addPeriodic(const CMTime& interval, HostTime now) {
    const bool repeats = interval.isNumeric() && interval > kCMTimeZero;
    periodics_[nextId_] = {interval, repeats ? anchor_.timeAt(now) + interval : kCMTimeInvalid};
    return nextId_++;
}

ObserverSchedule::Id ObserverSchedule::addBoundary(std::vector<CMTime> times) {
    std::erase_if(times, [](const CMTime& time) { return !time.isNumeric(); });
    std::sort(times.begin(), times.end());
    boundaries_[nextId_] = std::move(times);
    return nextId_++;
}

void ObserverSchedule::remove(Id observer) {
    periodics_.erase(observer);
    boundaries_.erase(observer);
}

std::vector<ObserverSchedule::Firing> ObserverSchedule::advance(HostTime now) {
    std::vector<Firing> firings;
    const CMTime time = anchor_.timeAt(now);
    if (time > seen_) {
        firePeriodics(time, firings);
        fireBoundaries(time, firings);
        seen_ = time;
    }
    std::stable_sort(firings.begin(), firings.end(), [](const Firing& left, const Firing& right) {
        return left.observer < right.observer;
    });
    return firings;
}

void ObserverSchedule::firePeriodics(const CMTime& time, std::vector<Firing>& firings) {
    for (auto& [id, periodic] : periodics_) {
        if (periodic.next.isNumeric() && periodic.next <= time) {
            firings.push_back({id, time});
            periodic.next = nextPeriod(periodic.next, periodic.interval, time);
        }
    }
}

void ObserverSchedule::fireBoundaries(const CMTime& time, std::vector<Firing>& firings) {
    for (const auto& [id, times] : boundaries_) {
        const auto first = std::upper_bound(times.begin(), times.end(), seen_);
        const auto last = std::upper_bound(first, times.end(), time);
        for (auto crossed = first; crossed != last; ++crossed) {
            firings.push_back({id, *crossed});
        }
    }
}

std::vector<ObserverSchedule::Firing>
ObserverSchedule::timelineDidChange(const TimelineAnchor& anchor,
                                    SynchronizedRenderer::Change change, HostTime now) {
    auto firings = advance(now);
    anchor_ = anchor;
    if (change == SynchronizedRenderer::Change::steered) {
        return firings;
    }
    // An anchor may begin in the past: times between its start and now still fire.
    seen_ = anchor.time;
    const CMTime time = anchor.timeAt(now);
    if (change == SynchronizedRenderer::Change::jumped) {
        restartPeriods(anchor.time);
    }
    for (const auto& [id, periodic] : periodics_) {
        std::erase_if(firings, [&, observer = id](const Firing& firing) {
            return firing.observer == observer;
        });
        firings.push_back({id, time});
    }
    return firings;
}

void ObserverSchedule::restartPeriods(const CMTime& time) {
    for (auto& [id, periodic] : periodics_) {
        if (periodic.next.isNumeric()) {
            periodic.next = time + periodic.interval;
        }
    }
}

HostTime ObserverSchedule::wakeTime() const {
    CMTime nearest = kCMTimePositiveInfinity;
    for (const auto& [id, periodic] : periodics_) {
        if (periodic.next.isNumeric()) {
            nearest = std::min(nearest, periodic.next);
        }
    }
    for (const auto& [id, times] : boundaries_) {
        const auto next = std::upper_bound(times.begin(), times.end(), seen_);
        if (next != times.end()) {
            nearest = std::min(nearest, *next);
        }
    }
    const HostTime wake = anchor_.hostTimeOf(nearest);
    // Rounding to nanoseconds can put the wake before the time.
    return wake == HostTime::max() ? wake : wake + HostDuration(2);
}

} // namespace zelvane
