// SPDX-License-Identifier: GPL-3.0-or-later
#include "core_media/ffmpeg_time.h"

#include "foundation/log.h"

namespace zelvane {

std::optional<CMTime> timeFromStamp(std::int64_t stamp, AVRational timeBase) {
    if (stamp == AV_NOPTS_VALUE || timeBase.num == 0 || timeBase.den == 0) {
        return std::nullopt;
    }
    std::int64_t value = 0;
    if (__builtin_mul_overflow(stamp, static_cast<std::int64_t>(timeBase.num), &value)) {
        fatalError("A time stamp does not fit 64 bits at its stream's time base.");
    }
    return CMTime(value, timeBase.den);
}

std::int64_t stampFromTime(const CMTime& time, AVRational timeBase) {
    if (timeBase.num == 0) {
        fatalError("A time was asked for in units of nothing.");
    }
    const CMTime scaled =
        time.convertScale(timeBase.den, CMTimeRoundingMethod::roundTowardNegativeInfinity);
    const std::int64_t quotient = scaled.value() / timeBase.num;
    const bool wasRoundedUp = scaled.value() % timeBase.num < 0;
    return wasRoundedUp ? quotient - 1 : quotient;
}

std::int64_t containerStampFromTime(const CMTime& time) {
    return time.convertScale(AV_TIME_BASE, CMTimeRoundingMethod::roundTowardNegativeInfinity)
        .value();
}

} // namespace zelvane
