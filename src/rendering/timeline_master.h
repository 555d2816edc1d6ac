// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <memory>
#include <optional>

#include "foundation/cm_time.h"
#include "foundation/host_clock.h"

namespace zelvane {

/// The next state of the clock.
struct TimelineRequest {
    /// The number of the change; calls that name an older one are ignored.
    std::uint64_t generation = 0;
    CMTime time = kCMTimeZero;
    /// 0 when the clock is to stop.
    double rate = 0;
    /// The clock waits at `time` for begin(), until this moment; none: it does not wait.
    std::optional<HostTime> startsBy;
};

/// What a master can do to the clock. Any thread, but not within a call of TimelineMaster.
class TimelineControl {
  public:
    virtual ~TimelineControl() = default;
    /// Starts a waiting clock: it shows the requested time at `startsAt`, which may be some
    /// milliseconds in the past or in the future.
    virtual void begin(std::uint64_t generation, HostTime startsAt) = 0;
    /// Changes the speed of the running clock to `slope` seconds per second, without a jump.
    virtual void steer(std::uint64_t generation, double slope) = 0;
};

/// A renderer whose device has its own clock, which the synchronizer follows. A synchronizer has at
/// most one: the first that is attached.
class TimelineMaster {
  public:
    virtual ~TimelineMaster() = default;
    /// Called once, before any request. `control` may expire.
    virtual void setTimelineControl(std::weak_ptr<TimelineControl> control) = 0;
    /// Called for every change of rate or time, before the renderers are. When the master returns
    /// true it calls begin() when its device runs, at `startsBy` at the latest.
    virtual bool timelineWillChange(const TimelineRequest& request) = 0;
};

} // namespace zelvane
