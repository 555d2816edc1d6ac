// SPDX-License-Identifier: GPL-3.0-or-later
#include "foundation/cm_time.h"

#include <cmath>
#include <limits>
#include <numeric>

#include <fmt/format.h>

namespace zelvane {
namespace {

__extension__ using Int128 = __int128;

constexpr Int128 kMaxValue = std::numeric_limits<std::int64_t>::max();
constexpr Int128 kMinValue = std::numeric_limits<std::int64_t>::min();

bool fits(Int128 value) {
    return value >= kMinValue && value <= kMaxValue;
}

/// numerator / denominator rounded to an integer; denominator is above zero.
Int128 divideRounded(Int128 numerator, Int128 denominator, CMTimeRoundingMethod method) {
    const Int128 quotient = numerator / denominator;
    const Int128 remainder = numerator % denominator;
    if (remainder == 0) {
        return quotient;
    }
    const int away = numerator < 0 ? -1 : 1;
    switch (method) {
    case CMTimeRoundingMethod::roundHalfAwayFromZero: {
        const Int128 magnitude = remainder < 0 ? -remainder : remainder;
        return quotient + (magnitude * 2 >= denominator ? away : 0);
    }
    case CMTimeRoundingMethod::roundTowardZero:
        return quotient;
    case CMTimeRoundingMethod::roundAwayFromZero:
        return quotient + away;
    case CMTimeRoundingMethod::roundTowardPositiveInfinity:
        return quotient + (away > 0 ? 1 : 0);
    case CMTimeRoundingMethod::roundTowardNegativeInfinity:
        return quotient - (away < 0 ? 1 : 0);
    }
    return quotient;
}

} // namespace

CMTime CMTime::fromSeconds(double seconds, std::int32_t preferredTimescale) {
    if (std::isnan(seconds) || preferredTimescale < 1) {
        return {};
    }
    if (std::isinf(seconds)) {
        return seconds > 0 ? positiveInfinity() : negativeInfinity();
    }
    // The first double that no longer fits 64 bits.
    constexpr double kLimit = 9223372036854775808.0;
    std::int32_t timescale = preferredTimescale;
    while (std::abs(seconds * timescale) >= kLimit && timescale > 1) {
        timescale /= 2;
    }
    const double scaled = seconds * timescale;
    if (std::abs(scaled) >= kLimit) {
        return seconds > 0 ? positiveInfinity() : negativeInfinity();
    }
    CMTime result(static_cast<std::int64_t>(scaled), timescale);
    if (result.seconds() != seconds) {
        result.flags_ |= kHasBeenRounded;
    }
    return result;
}

double CMTime::seconds() const {
    if (isNumeric()) {
        return static_cast<double>(value_) / timescale_;
    }
    if (isPositiveInfinity()) {
        return std::numeric_limits<double>::infinity();
    }
    if (isNegativeInfinity()) {
        return -std::numeric_limits<double>::infinity();
    }
    return std::numeric_limits<double>::quiet_NaN();
}

CMTime CMTime::convertScale(std::int32_t timescale, CMTimeRoundingMethod method) const {
    if (!isNumeric()) {
        return *this;
    }
    if (timescale < 1) {
        return {};
    }
    const Int128 scaled = static_cast<Int128>(value_) * timescale;
    const Int128 converted = divideRounded(scaled, timescale_, method);
    if (!fits(converted)) {
        return converted > 0 ? positiveInfinity() : negativeInfinity();
    }
    CMTime result(static_cast<std::int64_t>(converted), timescale);
    if (hasBeenRounded() || scaled % timescale_ != 0) {
        result.flags_ |= kHasBeenRounded;
    }
    return result;
}

std::string CMTime::description() const {
    if (isNumeric()) {
        return fmt::format("{}/{}", value_, timescale_);
    }
    if (!isValid()) {
        return "invalid";
    }
    if (isIndefinite()) {
        return "indefinite";
    }
    return isPositiveInfinity() ? "+infinity" : "-infinity";
}

CMTime CMTime::fromScaledSum(Int128 value, std::int64_t timescale, bool rounded) {
    // A larger value fits at no timescale, and the products below could overflow.
    constexpr Int128 kTooLarge = static_cast<Int128>(1) << 95;
    if (timescale <= kMaxTimescale && (value > kTooLarge || value < -kTooLarge)) {
        return value > 0 ? positiveInfinity() : negativeInfinity();
    }
    std::int64_t scale = timescale;
    Int128 scaledValue = value;
    const auto rescale = [&](std::int64_t newScale) {
        const Int128 product = value * newScale;
        scaledValue =
            divideRounded(product, timescale, CMTimeRoundingMethod::roundHalfAwayFromZero);
        rounded = rounded || product % timescale != 0;
        scale = newScale;
    };
    if (scale > kMaxTimescale) {
        rescale(kMaxTimescale);
    }
    while (!fits(scaledValue) && scale > 1) {
        rescale(scale / 2);
    }
    if (!fits(scaledValue)) {
        return scaledValue > 0 ? positiveInfinity() : negativeInfinity();
    }
    CMTime result(static_cast<std::int64_t>(scaledValue), static_cast<std::int32_t>(scale));
    if (rounded) {
        result.flags_ |= kHasBeenRounded;
    }
    return result;
}

CMTime operator+(const CMTime& left, const CMTime& right) {
    if (!left.isValid() || !right.isValid()) {
        return {};
    }
    if (left.isNumeric() && right.isNumeric()) {
        const bool rounded = left.hasBeenRounded() || right.hasBeenRounded();
        const std::int64_t scale = std::lcm(static_cast<std::int64_t>(left.timescale_),
                                            static_cast<std::int64_t>(right.timescale_));
        const Int128 sum = static_cast<Int128>(left.value_) * (scale / left.timescale_) +
                           static_cast<Int128>(right.value_) * (scale / right.timescale_);
        return CMTime::fromScaledSum(sum, scale, rounded);
    }
    const bool positive = left.isPositiveInfinity() || right.isPositiveInfinity();
    const bool negative = left.isNegativeInfinity() || right.isNegativeInfinity();
    if (positive && negative) {
        return {};
    }
    if (positive) {
        return CMTime::positiveInfinity();
    }
    return negative ? CMTime::negativeInfinity() : CMTime::indefinite();
}

CMTime CMTime::operator-() const {
    if (isPositiveInfinity()) {
        return negativeInfinity();
    }
    if (isNegativeInfinity()) {
        return positiveInfinity();
    }
    if (!isNumeric()) {
        return *this;
    }
    return fromScaledSum(-static_cast<Int128>(value_), timescale_, hasBeenRounded());
}

CMTime operator-(const CMTime& left, const CMTime& right) {
    return left + -right;
}

CMTime operator*(const CMTime& time, std::int64_t multiplier) {
    if (!time.isNumeric()) {
        return multiplier < 0 ? -time : time;
    }
    return CMTime::fromScaledSum(static_cast<Int128>(time.value_) * multiplier, time.timescale_,
                                 time.hasBeenRounded());
}

std::weak_ordering operator<=>(const CMTime& left, const CMTime& right) {
    if (left.isNumeric() && right.isNumeric()) {
        const Int128 a = static_cast<Int128>(left.value_) * right.timescale_;
        const Int128 b = static_cast<Int128>(right.value_) * left.timescale_;
        return a < b ? std::weak_ordering::less
                     : (a > b ? std::weak_ordering::greater : std::weak_ordering::equivalent);
    }
    const auto rank = [](const CMTime& time) {
        if (!time.isValid()) {
            return 4;
        }
        if (time.isPositiveInfinity()) {
            return 3;
        }
        if (time.isIndefinite()) {
            return 2;
        }
        return time.isNegativeInfinity() ? 0 : 1;
    };
    return rank(left) <=> rank(right);
}

} // namespace zelvane
