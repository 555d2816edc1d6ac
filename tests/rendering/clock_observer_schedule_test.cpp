// SPDX-License-Identifier: GPL-3.0-or-later
#include <fmt/format.h>
#include <gtest/gtest.h>

#include "rendering/observer_schedule.h"

namespace zelvane {
namespace {

using namespace std::chrono_literals;
using Change = SynchronizedRenderer::Change;

constexpr HostTime kStart = 100s;

/// Fired observers as text, "id@seconds" each.
std::string text(const std::vector<ObserverSchedule::Firing>& firings) {
    std::string all;
    for (const auto& firing : firings) {
        all += fmt::format("{}{}@{:g}", all.empty() ? "" : " ", firing.observer,
                           firing.time.seconds());
    }
    return all;
}

class Schedule : public testing::Test {
  protected:
    std::string move(double time, double rate, HostDuration now, Change change) {
        return text(schedule_.timelineDidChange(
            {CMTime::fromSeconds(time, 1000), kStart + now, rate}, change, kStart + now));
    }
    std::string advance(HostDuration now) { return text(schedule_.advance(kStart + now)); }
    HostDuration wake() const { return schedule_.wakeTime() - kStart; }
    static constexpr HostDuration kNever = HostTime::max() - kStart;

    ObserverSchedule schedule_;
};

TEST_F(Schedule, aRunningClockFiresEachBoundaryOnce) {
    move(0, 1, 0s, Change::jumped);
    schedule_.addBoundary({CMTime(2, 1), CMTime(1, 1), kCMTimeIndefinite});
    EXPECT_EQ(advance(999ms), "");
    EXPECT_NEAR(std::chrono::duration<double>(wake()).count(), 1, 1e-8);
    EXPECT_EQ(advance(1s), "1@1");
    EXPECT_EQ(advance(1500ms), "");
    EXPECT_EQ(advance(5s), "1@2");
    EXPECT_EQ(wake(), kNever);
}

TEST_F(Schedule, aJumpFiresNoBoundary) {
    move(0, 1, 0s, Change::jumped);
    schedule_.addBoundary({CMTime(1, 1), CMTime(5, 1), CMTime(10, 1)});
    EXPECT_EQ(move(5, 1, 500ms, Change::jumped), "");
    EXPECT_EQ(advance(600ms), "") << "a boundary at the target is not reached by running";
    EXPECT_EQ(advance(6s), "1@10");
    EXPECT_EQ(move(0, 1, 6s, Change::jumped), "");
    EXPECT_EQ(advance(8s), "1@1") << "a boundary before the clock stays registered";
}

TEST_F(Schedule, boundariesReachedBeforeAJumpFire) {
    move(0, 1, 0s, Change::jumped);
    schedule_.addBoundary({CMTime(1, 1)});
    EXPECT_EQ(move(0, 0, 1100ms, Change::jumped), "1@1");
}

TEST_F(Schedule, aStartInThePastFiresTheBoundariesSince) {
    move(0, 0, 0s, Change::jumped);
    schedule_.addBoundary({CMTime(1, 100)});
    const TimelineAnchor anchor{kCMTimeZero, kStart + 500ms, 1};
    EXPECT_EQ(text(schedule_.timelineDidChange(anchor, Change::rate, kStart + 520ms)), "");
    EXPECT_LE(schedule_.wakeTime(), kStart + 520ms);
    EXPECT_EQ(advance(520ms), "1@0.01");
}

TEST_F(Schedule, periodsKeepTheirGridAfterALateCall) {
    move(0, 2, 0s, Change::jumped);
    schedule_.addPeriodic(CMTime(1, 2), kStart);
    EXPECT_NEAR(std::chrono::duration<double>(wake()).count(), 0.25, 1e-8);
    EXPECT_EQ(advance(250ms), "1@0.5");
    EXPECT_EQ(advance(900ms), "1@1.8") << "once for two periods";
    EXPECT_EQ(advance(1s), "1@2");
}

TEST_F(Schedule, periodicObserversFireOnceAtEachChange) {
    move(3, 0, 0s, Change::jumped);
    schedule_.addPeriodic(CMTime(1, 1), kStart);
    EXPECT_EQ(wake(), kNever) << "a stopped clock reaches nothing";
    EXPECT_EQ(move(3, 1, 1s, Change::rate), "1@3");
    EXPECT_EQ(move(9, 1, 2s, Change::jumped), "1@9") << "and not also for the period before";
    EXPECT_EQ(advance(2900ms), "");
    EXPECT_EQ(advance(3s), "1@10");
    EXPECT_EQ(move(10.5, 1.01, 3500ms, Change::steered), "") << "steering does not fire";
    schedule_.remove(1);
    EXPECT_EQ(advance(60s), "");
    EXPECT_EQ(wake(), kNever);
}

} // namespace
} // namespace zelvane
