// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <memory>

#include "foundation/cm_time.h"
#include "foundation/host_clock.h"

namespace zelvane {

/// What the clock is about to do.
struct TimelineRequest {
    /// Counts the changes; answers to an older one are ignored.
    std::uint64_t generation = 0;
    CMTime time = kCMTimeZero;
    /// 0 stands still.
    double rate = 0;
    /// The clock may stand at `time` until begin(); otherwise it is running already.
    bool mayWait = false;
};

/// The clock as its master moves it. Any thread, but not from within TimelineMaster's own call.
class TimelineControl {
  public:
    virtual ~TimelineControl() = default;
    /// Lets a waiting clock run, with the requested time at `startsAt`, which may lie a little in
    /// the past or in the future.
    virtual void begin(std::uint64_t generation, HostTime startsAt) = 0;
    /// From now on the running clock moves by `slope` seconds a second: no jump, only another
    /// speed.
    virtual void steer(std::uint64_t generation, double slope) = 0;
};

/// A renderer whose device has a clock of its own, which people hear; the synchronizer follows it.
/// There is one at most: the first that is attached.
class TimelineMaster {
  public:
    virtual ~TimelineMaster() = default;
    /// Called once, before any request. `control` may be gone later.
    virtual void setTimelineControl(std::weak_ptr<TimelineControl> control) = 0;
    /// Told of every change of rate or time before the renderers are. True: the master calls
    /// begin() once its device runs. The synchronizer does not wait for ever.
    virtual bool timelineWillChange(const TimelineRequest& request) = 0;
};

} // namespace zelvane
