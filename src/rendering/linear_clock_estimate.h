// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <deque>

#include "foundation/host_clock.h"

namespace zelvane {

/// Estimates the position of a device from measurements with jitter: a least-squares line over the
/// last kWindow seconds. While the measurements span less than kMinimumSpan, the slope is the
/// nominal rate.
class LinearClockEstimate {
  public:
    explicit LinearClockEstimate(double nominalRate) : nominalRate_(nominalRate) {}

    /// `frame` is heard at `hostTime`. Times must not decrease.
    void add(double frame, HostTime hostTime);
    bool isEmpty() const { return points_.empty(); }
    /// When `frame` is heard. Must not be empty.
    HostTime hostTimeOf(double frame) const;
    /// The frame that is heard at `hostTime`. Must not be empty.
    double frameAt(HostTime hostTime) const;
    /// In frames per second.
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
