// SPDX-License-Identifier: GPL-3.0-or-later
#include "rendering/render_synchronizer.h"

#include <cmath>

namespace zelvane {
namespace {

constexpr std::int32_t kNanosecondTimescale = 1'000'000'000;

} // namespace

CMTime TimelineAnchor::timeAt(HostTime host) const {
    if (rate == 0 || host <= hostTime) {
        return time;
    }
    const double elapsed = static_cast<double>((host - hostTime).count()) * rate;
    return time + CMTime(std::llround(elapsed), kNanosecondTimescale);
}

HostTime TimelineAnchor::hostTimeOf(const CMTime& media) const {
    if (rate == 0 || !media.isNumeric()) {
        return HostTime::max();
    }
    const double distance = (media - time).seconds() / rate;
    constexpr double kHorizon = 1e9;
    if (distance < 0 || distance > kHorizon) {
        return HostTime::max();
    }
    return hostTime + HostTime(std::llround(distance * 1e9));
}

} // namespace zelvane
