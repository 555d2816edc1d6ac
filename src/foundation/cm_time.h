// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <compare>
#include <cstdint>
#include <string>

namespace zelvane {

/// How CMTime::convertScale rounds.
enum class CMTimeRoundingMethod {
    roundHalfAwayFromZero,
    roundTowardZero,
    roundAwayFromZero,
    roundTowardPositiveInfinity,
    roundTowardNegativeInfinity,
};

/// Rational media time: `value / timescale` seconds, or one of the special values invalid,
/// indefinite and plus or minus infinity. A plain value.
///
/// Arithmetic uses the least common timescale of the operands if it fits 31 bits, and marks an
/// inexact result as rounded. If the value does not fit 64 bits the timescale is halved until it
/// does; a value that fits at no timescale becomes an infinity. Order: -infinity, numbers,
/// indefinite, +infinity, invalid; numbers compare exactly.
class CMTime {
  public:
    enum Flag : std::uint32_t {
        kValid = 1U << 0,
        kHasBeenRounded = 1U << 1,
        kPositiveInfinity = 1U << 2,
        kNegativeInfinity = 1U << 3,
        kIndefinite = 1U << 4,
    };

    static constexpr std::int32_t kMaxTimescale = 0x7fffffff;

    /// An invalid time.
    constexpr CMTime() = default;
    /// `value / timescale` seconds; a timescale below 1 gives an invalid time.
    constexpr CMTime(std::int64_t value, std::int32_t timescale)
        : value_(value), timescale_(timescale), flags_(timescale > 0 ? std::uint32_t{kValid} : 0U) {
    }

    static constexpr CMTime indefinite() { return special(kIndefinite); }
    static constexpr CMTime positiveInfinity() { return special(kPositiveInfinity); }
    static constexpr CMTime negativeInfinity() { return special(kNegativeInfinity); }
    /// Rounds toward zero at the timescale, which is halved until the value fits. The result is
    /// marked as rounded when it does not equal `seconds`. NaN gives an invalid time.
    static CMTime fromSeconds(double seconds, std::int32_t preferredTimescale);

    constexpr std::int64_t value() const { return value_; }
    constexpr std::int32_t timescale() const { return timescale_; }
    constexpr bool isValid() const { return (flags_ & kValid) != 0; }
    constexpr bool isIndefinite() const { return (flags_ & kIndefinite) != 0; }
    constexpr bool isPositiveInfinity() const { return (flags_ & kPositiveInfinity) != 0; }
    constexpr bool isNegativeInfinity() const { return (flags_ & kNegativeInfinity) != 0; }
    constexpr bool hasBeenRounded() const { return (flags_ & kHasBeenRounded) != 0; }
    /// Valid and neither indefinite nor infinite.
    constexpr bool isNumeric() const {
        return (flags_ & (kValid | kIndefinite | kPositiveInfinity | kNegativeInfinity)) == kValid;
    }

    /// Seconds as a double; NaN for invalid and indefinite times, ±infinity for infinities.
    double seconds() const;
    /// The time at another timescale. Special values are returned unchanged; a value that does not
    /// fit becomes an infinity; a timescale below 1 gives an invalid time.
    CMTime convertScale(std::int32_t timescale, CMTimeRoundingMethod method) const;
    /// "value/timescale", or the name of a special value, for logs and test output.
    std::string description() const;

    friend CMTime operator+(const CMTime& left, const CMTime& right);
    friend CMTime operator-(const CMTime& left, const CMTime& right);
    CMTime operator-() const;
    /// The multiple of a time, at its timescale if it fits.
    friend CMTime operator*(const CMTime& time, std::int64_t multiplier);
    friend std::weak_ordering operator<=>(const CMTime& left, const CMTime& right);
    friend bool operator==(const CMTime& left, const CMTime& right) {
        return (left <=> right) == 0;
    }

  private:
    static constexpr CMTime special(std::uint32_t flag) {
        CMTime time;
        time.flags_ = kValid | flag;
        return time;
    }
    __extension__ using Int128 = __int128;
    static CMTime fromScaledSum(Int128 value, std::int64_t timescale, bool rounded);

    std::int64_t value_ = 0;
    std::int32_t timescale_ = 0;
    std::uint32_t flags_ = 0;
};

inline constexpr CMTime kCMTimeInvalid{};
inline constexpr CMTime kCMTimeZero{0, 1};
inline constexpr CMTime kCMTimeIndefinite = CMTime::indefinite();
inline constexpr CMTime kCMTimePositiveInfinity = CMTime::positiveInfinity();
inline constexpr CMTime kCMTimeNegativeInfinity = CMTime::negativeInfinity();

} // namespace zelvane
