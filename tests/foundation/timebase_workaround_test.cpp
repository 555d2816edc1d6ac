// SPDX-License-Identifier: GPL-3.0-or-later
#include "foundation/timebase_workaround.h"

#include <gmock/gmock.h>

#include "tests/support/log_capture.h"

namespace zelvane::test {
namespace {

constexpr Timebase kEmulated{1, 1};
constexpr Timebase kActual{125, 3};

/// A clock that counts from zero, and a system on which each step can fail.
struct FakePlatform final : TimebasePlatform {
    std::variant<Timebase, Failure> emulatedTimebase() override { return emulated; }
    std::variant<std::int32_t, Failure> tickFrequency() override { return frequency; }
    std::optional<std::string> loadClockLibrary() override { return loadFailure; }
    std::optional<std::string> unloadClockLibrary() override { return "no"; }
    bool hasClock() override { return isClockKnown; }
    std::optional<std::string> installHook(Hook newHook) override {
        hook = std::move(newHook);
        return hookFailure;
    }
    std::optional<std::string> revertHook() override {
        ++reverts;
        return std::nullopt;
    }
    std::int64_t convert(std::uint64_t time) { return hook(clock, time); }

    std::variant<Timebase, Failure> emulated = kEmulated;
    std::variant<std::int32_t, Failure> frequency = 24'000'000;
    std::optional<std::string> loadFailure;
    std::optional<std::string> hookFailure;
    bool isClockKnown = true;
    Conversion clock;
    Hook hook;
    int reverts = 0;
};

TEST(TimebaseWorkaround, reducesFrequenciesAndAdjustsTimes) {
    EXPECT_EQ(timebaseOf(24'000'000), kActual);
    EXPECT_EQ(timebaseOf(1'000'000'000), kEmulated);
    EXPECT_EQ(timebaseOf(7), (Timebase{1'000'000'000, 7}));
    // 125 times of 1 ns are 3 ticks.
    EXPECT_EQ(adjustedTime(125, kEmulated, kActual), 3U);
}

TEST(TimebaseWorkaround, givesUpAtEachStepWithItsLine) {
    struct Case {
        std::function<void(FakePlatform&)> fail;
        const char* line;
    };
    for (const Case& each : {
             Case{[](auto& p) { p.emulated = FakePlatform::Failure{5}; },
                  "`mach_timebase_info` failed: 5."},
             Case{[](auto& p) { p.frequency = FakePlatform::Failure{2}; },
                  "`sysctl hw.tbfrequency` failed: 2."},
             Case{[](auto& p) { p.frequency = 0; }, "unexpected value: 0 ticks/sec."},
             Case{[](auto& p) { p.frequency = 1'000'000'000; }, "No workaround needed."},
             Case{[](auto& p) { p.loadFailure = "gone"; },
                  "Failed to load `TimeSync.framework`: gone."},
             Case{[](auto& p) { p.isClockKnown = false; }, "Failed to find `TSgPTPClock`."},
             Case{[](auto& p) { p.hookFailure = "no"; },
                  "Failed to install `TSgPTPClock` hooks: no."},
         }) {
        SCOPED_TRACE(each.line);
        const LogCapture log;
        const auto platform = std::make_shared<FakePlatform>();
        each.fail(*platform);
        std::make_shared<TimebaseWorkaround>(platform)->install();
        EXPECT_EQ(log.count(each.line), 1U);
        EXPECT_EQ(log.count("Successfully"), 0U);
    }
}

TEST(TimebaseWorkaround, measuresWhetherTheClockForgetsTheEmulation) {
    const LogCapture log;
    const auto platform = std::make_shared<FakePlatform>();
    const auto workaround = std::make_shared<TimebaseWorkaround>(platform);
    workaround->install();
    platform->clock = [](std::uint64_t) { return std::int64_t{-1}; };
    EXPECT_EQ(platform->convert(1000), -1);
    EXPECT_EQ(log.count("Will retry later."), 1U);
    // It takes emulated ticks for those of the machine.
    platform->clock = [](std::uint64_t time) {
        return static_cast<std::int64_t>(time * kActual.numer / kActual.denom);
    };
    EXPECT_EQ(platform->convert(125'000), 125'000);
    EXPECT_EQ(log.count("Adjustment needed = true."), 1U);
    EXPECT_EQ(platform->reverts, 0);
}

TEST(TimebaseWorkaround, removesItsHookWhereTheClockIsRight) {
    const LogCapture log;
    const auto platform = std::make_shared<FakePlatform>();
    const auto workaround = std::make_shared<TimebaseWorkaround>(platform);
    workaround->install();
    platform->clock = [](std::uint64_t time) { return static_cast<std::int64_t>(time); };
    EXPECT_EQ(platform->convert(125'000), 125'000);
    EXPECT_EQ(platform->convert(125'000), 125'000);
    EXPECT_EQ(log.count("Adjustment needed = false."), 1U);
    EXPECT_EQ(platform->reverts, 1);
}

} // namespace
} // namespace zelvane::test
