// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <variant>

#include "foundation/atomic.h"

namespace zelvane {

/// The nanoseconds of a tick of the machine's clock, as a fraction.
struct Timebase {
    std::uint32_t numer = 1;
    std::uint32_t denom = 1;
    friend bool operator==(const Timebase&, const Timebase&) = default;
};

/// The timebase of a clock with that many ticks a second, above 0. Divided by 10, then by 2, then
/// by 5, as long as both numbers can be.
Timebase timebaseOf(std::uint32_t ticksPerSecond);

/// A time of the process in ticks of the machine. An overflow or a zero divisor stops the process.
std::uint64_t adjustedTime(std::uint64_t time, const Timebase& emulated, const Timebase& actual);

/// What the workaround needs of the system. An optional text is the description of a failure.
class TimebasePlatform {
  public:
    /// From a time in ticks to nanoseconds of the clock of network speakers. Negative while that
    /// clock has no time.
    using Conversion = std::function<std::int64_t(std::uint64_t time)>;
    /// Is called in place of the conversion, on any thread.
    using Hook = std::function<std::int64_t(const Conversion& replaced, std::uint64_t time)>;

    struct Failure {
        int code = 0;
    };

    virtual ~TimebasePlatform() = default;
    /// As the process sees it.
    virtual std::variant<Timebase, Failure> emulatedTimebase() = 0;
    /// Ticks a second of the machine.
    virtual std::variant<std::int32_t, Failure> tickFrequency() = 0;
    /// Loading the library makes its classes known, also after it was unloaded.
    virtual std::optional<std::string> loadClockLibrary() = 0;
    virtual std::optional<std::string> unloadClockLibrary() = 0;
    virtual bool hasClock() = 0;
    virtual std::optional<std::string> installHook(Hook hook) = 0;
    /// May be called by the hook.
    virtual std::optional<std::string> revertHook() = 0;
};

/// Corrects the times that a translated process passes to the clock of network speakers, where the
/// system forgets that such a process counts other ticks than the machine. Whether it does is
/// measured at the first call of the hook.
class TimebaseWorkaround final : public std::enable_shared_from_this<TimebaseWorkaround> {
  public:
    explicit TimebaseWorkaround(std::shared_ptr<TimebasePlatform> platform)
        : platform_(std::move(platform)) {}

    /// Logs what it finds. Every failure leaves the system as it is.
    void install();

  private:
    enum class Decision { notNeeded = 0, needed = 1, undetermined = 2 };

    std::optional<Timebase> fetchEmulatedTimebase() const;
    std::optional<Timebase> fetchActualTimebase() const;
    bool makeClockKnown() const;
    void installHook();
    std::int64_t convert(const TimebasePlatform::Conversion& replaced, std::uint64_t time);
    Decision measure(const TimebasePlatform::Conversion& convert) const;
    void revertHook();
    std::uint64_t adjust(std::uint64_t time) const;

    const std::shared_ptr<TimebasePlatform> platform_;
    // Set before the hook is installed.
    Timebase emulated_;
    Timebase actual_;
    Atomic<Decision> adjustmentDecision_{Decision::undetermined};
    std::atomic<bool> hasHook_{false};
};

/// For this machine, where a process never counts other ticks. Once, before all else at the start.
void installTimebaseWorkaround();

} // namespace zelvane
