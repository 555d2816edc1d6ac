// SPDX-License-Identifier: GPL-3.0-or-later
#include "rendering/linear_clock_estimate.h"

#include <cmath>

namespace zelvane {

void LinearClockEstimate::add(double frame, HostTime hostTime) {
    if (points_.empty()) {
        origin_ = hostTime;
    }
    const double seconds = std::chrono::duration<double>(hostTime - origin_).count();
    points_.push_back({frame, seconds});
    while (seconds - points_.front().seconds > kWindow) {
        points_.pop_front();
    }
}

LinearClockEstimate::Line LinearClockEstimate::fit() const {
    double meanFrame = 0;
    double meanSeconds = 0;
    for (const auto& point : points_) {
        meanFrame += point.frame;
        meanSeconds += point.seconds;
    }
    const auto count = static_cast<double>(points_.size());
    meanFrame /= count;
    meanSeconds /= count;
    if (points_.back().seconds - points_.front().seconds < kMinimumSpan) {
        return {meanFrame, meanSeconds, 1 / nominalRate_};
    }
    double covariance = 0;
    double variance = 0;
    for (const auto& point : points_) {
        covariance += (point.frame - meanFrame) * (point.seconds - meanSeconds);
        variance += (point.frame - meanFrame) * (point.frame - meanFrame);
    }
    const double slope = variance > 0 ? covariance / variance : 0;
    return {meanFrame, meanSeconds, slope > 0 ? slope : 1 / nominalRate_};
}

HostTime LinearClockEstimate::hostTimeOf(double frame) const {
    const Line line = fit();
    const double seconds = line.seconds + (frame - line.frame) * line.secondsPerFrame;
    return origin_ + HostDuration(std::llround(seconds * 1e9));
}

double LinearClockEstimate::frameAt(HostTime hostTime) const {
    const Line line = fit();
    const double seconds = std::chrono::duration<double>(hostTime - origin_).count();
    return line.frame + (seconds - line.seconds) / line.secondsPerFrame;
}

double LinearClockEstimate::rate() const {
    return points_.empty() ? nominalRate_ : 1 / fit().secondsPerFrame;
}

} // namespace zelvane
