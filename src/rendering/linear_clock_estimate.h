// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <deque>

#include "foundation/host_clock.h"

namespace zelvane {

/// Where a device's clock stands, from measurements that jitter: a least-squares line over the last
/// seconds. While these span too little to tell the device's speed from the jitter, its nominal
/// rate is believed. Host times are seconds as doubles inside, relative to the first.
class LinearClockEstimate {
  public:
    explicit LinearClockEstimate(double nominalRate) : nominalRate_(nominalRate) {}

    /// Frame `frame` is heard at `hostTime`; times must not decrease.
    void add(double frame, HostTime hostTime);
    bool isEmpty() const { return points_.empty(); }
    /// When `frame` is heard. Only when not empty.
    HostTime hostTimeOf(double frame) const;
    /// Which frame is heard at `hostTime`. Only when not empty.
    double frameAt(HostTime hostTime) const;
    /// Frames a second.
    double rate() const;

  private:
    static constexpr double kWindow = 5;
    static constexpr double kMinimumSpan = 1;
    struct Point {
        double frame;
        double seconds;
    };
    struct Line {
        double frame;
        double seconds;
        double secondsPerFrame;
    };
    Line fit() const;

    double nominalRate_;
    HostTime origin_{0};
    std::deque<Point> points_;
};

} // namespace zelvane
