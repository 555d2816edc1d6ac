// SPDX-License-Identifier: GPL-3.0-or-later
#include "foundation/timebase_workaround.h"

#include <cstdlib>
#include <utility>

#include <fmt/format.h>

#include "foundation/log.h"

namespace zelvane {
namespace {

constexpr std::uint32_t kNanosecondsPerSecond = 1'000'000'000;

std::string textOf(const Timebase& timebase) {
    return fmt::format("{}/{}", timebase.numer, timebase.denom);
}

std::uint64_t product(std::uint64_t a, std::uint64_t b) {
    std::uint64_t result = 0;
    if (__builtin_mul_overflow(a, b, &result)) {
        fatalError("A time is too large to be adjusted.");
    }
    return result;
}

std::uint64_t quotient(std::uint64_t dividend, std::uint64_t divisor) {
    if (divisor == 0) {
        fatalError("A timebase is zero.");
    }
    return dividend / divisor;
}

/// The clock of Linux counts nanoseconds in every process.
class LinuxTimebase final : public TimebasePlatform {
  public:
    std::variant<Timebase, Failure> emulatedTimebase() override { return Timebase(); }
    std::variant<std::int32_t, Failure> tickFrequency() override {
        return static_cast<std::int32_t>(kNanosecondsPerSecond);
    }
    std::optional<std::string> loadClockLibrary() override { return "there is none"; }
    std::optional<std::string> unloadClockLibrary() override { return "there is none"; }
    bool hasClock() override { return false; }
    std::optional<std::string> installHook(Hook /*hook*/) override { return "there is none"; }
    std::optional<std::string> revertHook() override { return std::nullopt; }
};

} // namespace

Timebase timebaseOf(std::uint32_t ticksPerSecond) {
    Timebase timebase{kNanosecondsPerSecond, ticksPerSecond};
    for (const std::uint32_t divisor : {10U, 2U, 5U}) {
        while (timebase.numer % divisor == 0 && timebase.denom % divisor == 0) {
            timebase.numer /= divisor;
            timebase.denom /= divisor;
        }
    }
    return timebase;
}

std::uint64_t adjustedTime(std::uint64_t time, const Timebase& emulated, const Timebase& actual) {
    return quotient(product(product(time, emulated.numer), actual.denom),
                    product(actual.numer, emulated.denom));
}

std::optional<Timebase> TimebaseWorkaround::fetchEmulatedTimebase() const {
    const auto timebase = platform_->emulatedTimebase();
    if (const auto* failure = std::get_if<TimebasePlatform::Failure>(&timebase)) {
        logMessage("`mach_timebase_info` failed: {}.", failure->code);
        return std::nullopt;
    }
    return std::get<Timebase>(timebase);
}

std::optional<Timebase> TimebaseWorkaround::fetchActualTimebase() const {
    const auto frequency = platform_->tickFrequency();
    if (const auto* failure = std::get_if<TimebasePlatform::Failure>(&frequency)) {
        logMessage("`sysctl hw.tbfrequency` failed: {}.", failure->code);
        return std::nullopt;
    }
    const auto ticks = std::get<std::int32_t>(frequency);
    if (ticks <= 0) {
        logMessage("`sysctl hw.tbfrequency` returned unexpected value: {} ticks/sec.", ticks);
        return std::nullopt;
    }
    return timebaseOf(static_cast<std::uint32_t>(ticks));
}

void TimebaseWorkaround::install() {
    const auto emulated = fetchEmulatedTimebase();
    const auto actual = fetchActualTimebase();
    if (!emulated || !actual) {
        logMessage("Failed to fetch Mach timebase info.");
        return;
    }
    if (*emulated == *actual) {
        logMessage("The Mach timebase is not being emulated. No workaround needed.");
        return;
    }
    logMessage("The Mach timebase is being emulated. Workaround may be needed.\n"
               "Emulated timebase = {}; actual timebase = {}.",
               textOf(*emulated), textOf(*actual));
    emulated_ = *emulated;
    actual_ = *actual;
    if (makeClockKnown()) {
        installHook();
    }
}

bool TimebaseWorkaround::makeClockKnown() const {
    if (const auto failure = platform_->loadClockLibrary()) {
        logMessage("Failed to load `TimeSync.framework`: {}.", *failure);
        return false;
    }
    if (const auto failure = platform_->unloadClockLibrary()) {
        logMessage("Failed to unload `TimeSync.framework`: {}. Ignoring non-critical error.",
                   *failure);
    }
    const bool isKnown = platform_->hasClock();
    if (!isKnown) {
        logMessage("Failed to find `TSgPTPClock`.");
    }
    return isKnown;
}

void TimebaseWorkaround::installHook() {
    if (hasHook_) {
        revertHook();
    }
    const auto hook = [weakSelf = weak_from_this()](const TimebasePlatform::Conversion& replaced,
                                                    std::uint64_t time) {
        const auto self = weakSelf.lock();
        return self ? self->convert(replaced, time) : replaced(time);
    };
    // Another thread may call the hook before the installation returns.
    hasHook_ = true;
    if (const auto failure = platform_->installHook(hook)) {
        hasHook_ = false;
        logMessage("Failed to install `TSgPTPClock` hooks: {}.", *failure);
        return;
    }
    logMessage("Successfully installed `TSgPTPClock` hooks to work around a bug in the Rosetta "
               "version of `TimeSync.framework`.");
}

std::int64_t TimebaseWorkaround::convert(const TimebasePlatform::Conversion& replaced,
                                         std::uint64_t time) {
    const Decision decision = adjustmentDecision_.withLock([&](Decision& known) {
        if (known == Decision::undetermined) {
            known = measure(replaced);
        }
        if (known == Decision::undetermined) {
            logMessage("Failed to determine whether an adjustment is needed. Will retry later.");
        } else if (known == Decision::notNeeded && hasHook_.exchange(false)) {
            revertHook();
        }
        return known;
    });
    return replaced(decision == Decision::needed ? adjust(time) : time);
}

void TimebaseWorkaround::revertHook() {
    if (const auto failure = platform_->revertHook()) {
        logMessage("Failed to revert `TSgPTPClock` hooks: {}.", *failure);
    }
}

std::uint64_t TimebaseWorkaround::adjust(std::uint64_t time) const {
    return adjustedTime(time, emulated_, actual_);
}

TimebaseWorkaround::Decision
TimebaseWorkaround::measure(const TimebasePlatform::Conversion& convert) const {
    constexpr std::uint64_t kTime = 60'000'000'000;
    constexpr std::uint64_t kTicks = 1000;
    const std::int64_t first = convert(kTime);
    const std::int64_t plain = first < 0 ? first : convert(kTime + kTicks);
    const std::int64_t adjusted = plain < 0 ? plain : convert(kTime + adjust(kTicks));
    if (adjusted < 0) {
        logMessage("Domain time is invalid.");
        return Decision::undetermined;
    }
    const auto expected =
        static_cast<std::int64_t>(quotient(product(kTicks, emulated_.numer), emulated_.denom));
    const bool isNeeded =
        std::abs(adjusted - first - expected) < std::abs(plain - first - expected);
    logMessage("Mach absolute time 1 = {}; domain time 1 = {}.\n"
               "Domain time 2 = {}; domain time 2 (adjusted) = {}.\n"
               "Expected domain time delta = {}; actual domain time delta = {}; actual domain time "
               "delta (adjusted) = {}.\n"
               "Adjustment needed = {}.",
               kTime, first, plain, adjusted, expected, plain - first, adjusted - first, isNeeded);
    return isNeeded ? Decision::needed : Decision::notNeeded;
}

void installTimebaseWorkaround() {
    // It lives as long as its hook, which is called at any time.
    static const auto workaround =
        std::make_shared<TimebaseWorkaround>(std::make_shared<LinuxTimebase>());
    workaround->install();
}

} // namespace zelvane
