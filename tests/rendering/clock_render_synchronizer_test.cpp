// SPDX-License-Identifier: GPL-3.0-or-later
#include <atomic>
#include <future>
#include <thread>

#include <gtest/gtest.h>

#include "foundation/notification_center.h"
#include "rendering/sample_buffer_render_synchronizer.h"
#include "rendering/timeline_master.h"
#include "tests/rendering/rendering_fakes.h"

namespace zelvane {
namespace {

using namespace std::chrono_literals;
using Change = SynchronizedRenderer::Change;

struct RecordingRenderer : SynchronizedRenderer {
    void timelineDidChange(const TimelineAnchor& anchor, Change change) override {
        anchors.push_back(anchor);
        changes.push_back(change);
    }
    std::vector<TimelineAnchor> anchors;
    std::vector<Change> changes;
};

struct FakeMaster : RecordingRenderer, TimelineMaster {
    void setTimelineControl(std::weak_ptr<TimelineControl> given) override {
        control = std::move(given);
    }
    bool timelineWillChange(const TimelineRequest& request) override {
        requests.push_back(request);
        return answers;
    }
    std::weak_ptr<TimelineControl> control;
    std::vector<TimelineRequest> requests;
    bool answers = true;
};

class Synchronizer : public testing::Test {
  protected:
    double now() const { return synchronizer_.currentTime().seconds(); }

    test::FakeTime time_;
    std::shared_ptr<dispatch::RunLoopQueue> queue_ = std::make_shared<dispatch::RunLoopQueue>();
    SampleBufferRenderSynchronizer synchronizer_{time_.clock(), time_.makeTimer()};
};

TEST_F(Synchronizer, timeRunsStopsAndJumps) {
    synchronizer_.setRate(0, CMTime(7, 1));
    time_.advance(3s);
    EXPECT_EQ(now(), 7);
    synchronizer_.setRate(2);
    time_.advance(3s);
    EXPECT_DOUBLE_EQ(now(), 13);
    synchronizer_.setRate(0.5F);
    time_.advance(2s);
    EXPECT_DOUBLE_EQ(now(), 14);
    synchronizer_.setRate(1, CMTime(-1, 1));
    time_.advance(250ms);
    EXPECT_DOUBLE_EQ(now(), -0.75);
    for (const float unplayable : {-1.0F, std::nanf("")}) {
        synchronizer_.setRate(1);
        synchronizer_.setRate(unplayable);
        EXPECT_EQ(synchronizer_.rate(), 0) << unplayable;
    }
}

TEST_F(Synchronizer, everyRendererIsCalledForEachChangeInOrder) {
    const auto renderer = std::make_shared<RecordingRenderer>();
    synchronizer_.setRate(0, CMTime(1, 1));
    synchronizer_.addRenderer(renderer);
    synchronizer_.setRate(1);
    synchronizer_.setRate(1);
    synchronizer_.setRate(0, CMTime(4, 1));
    EXPECT_EQ(renderer->changes, (std::vector{Change::jumped, Change::rate, Change::jumped}));
    EXPECT_EQ(renderer->anchors[0].time, CMTime(1, 1));
    EXPECT_EQ(renderer->anchors[1].rate, 1);
    EXPECT_EQ(renderer->anchors[2].time, CMTime(4, 1));
}

TEST_F(Synchronizer, theNotificationFollowsEachChangeOfRateOnly) {
    std::vector<float> rates;
    const auto observer = NotificationCenter::shared().addObserver(
        std::string(kRenderSynchronizerRateDidChangeNotification),
        static_cast<const RenderSynchronizer*>(&synchronizer_), nullptr,
        [&](const Notification&) { rates.push_back(synchronizer_.rate()); });
    synchronizer_.setRate(0, CMTime(1, 1));
    synchronizer_.setRate(1.5F);
    synchronizer_.setRate(1.5F, CMTime(3, 1));
    synchronizer_.setRate(0);
    EXPECT_EQ(rates, (std::vector{1.5F, 0.0F}));
}

TEST_F(Synchronizer, theClockWaitsForAMaster) {
    const auto master = std::make_shared<FakeMaster>();
    synchronizer_.addRenderer(master);
    synchronizer_.setRate(2, CMTime(5, 1));
    time_.advance(40ms);
    EXPECT_EQ(now(), 5);
    EXPECT_EQ(synchronizer_.rate(), 2) << "the rate that was set";
    const auto generation = master->requests.back().generation;
    master->control.lock()->begin(generation - 1, time_.now());
    EXPECT_EQ(master->anchors.back().rate, 0) << "a call for an older request is ignored";
    master->control.lock()->begin(generation, time_.now() - 10ms);
    EXPECT_NEAR(now(), 5.02, 1e-9);
    EXPECT_EQ(master->changes.back(), Change::rate);
}

TEST_F(Synchronizer, theWaitForAMasterEnds) {
    const auto master = std::make_shared<FakeMaster>();
    synchronizer_.addRenderer(master);
    synchronizer_.setRate(1, kCMTimeZero);
    time_.advance(SampleBufferRenderSynchronizer::kSoundOnlyStartTimeout + 2s);
    EXPECT_DOUBLE_EQ(now(), 2);
    master->control.lock()->begin(master->requests.back().generation, time_.now());
    EXPECT_DOUBLE_EQ(now(), 2);
}

TEST_F(Synchronizer, steeringChangesTheRateAndNotTheTime) {
    const auto master = std::make_shared<FakeMaster>();
    master->answers = false;
    synchronizer_.addRenderer(master);
    synchronizer_.setRate(1, kCMTimeZero);
    time_.advance(1s);
    master->control.lock()->steer(master->requests.back().generation, 0.99);
    EXPECT_DOUBLE_EQ(now(), 1);
    EXPECT_EQ(master->changes.back(), Change::steered);
    EXPECT_EQ(synchronizer_.rate(), 1);
    time_.advance(1s);
    EXPECT_DOUBLE_EQ(now(), 1.99);
    synchronizer_.setRate(0);
    master->control.lock()->steer(master->requests.back().generation, 1);
    time_.advance(1s);
    EXPECT_DOUBLE_EQ(now(), 1.99) << "a stopped clock is not steered";
}

TEST_F(Synchronizer, observersRunOnTheirQueuesAtTheirTimes) {
    std::vector<double> periods;
    int crossed = 0;
    synchronizer_.setRate(1, kCMTimeZero);
    const auto periodic = synchronizer_.addPeriodicTimeObserver(
        CMTime(1, 4), queue_, [&](const CMTime& time) { periods.push_back(time.seconds()); });
    const auto boundary =
        synchronizer_.addBoundaryTimeObserver({CMTime(1, 2)}, queue_, [&] { ++crossed; });
    time_.advance(600ms);
    EXPECT_EQ(crossed, 0) << "not before its queue runs";
    queue_->runPending();
    EXPECT_EQ(crossed, 1);
    ASSERT_EQ(periods.size(), 2U);
    EXPECT_NEAR(periods[0], 0.25, 1e-6);
    EXPECT_NEAR(periods[1], 0.5, 1e-6);
}

TEST_F(Synchronizer, lateAndRemovedObserversAreNotCalled) {
    int calls = 0;
    const auto add = [&](const CMTime& time) {
        return synchronizer_.addBoundaryTimeObserver({time}, queue_, [&] { ++calls; });
    };
    synchronizer_.setRate(1, kCMTimeZero);
    time_.advance(2s);
    const auto late = add(CMTime(1, 1));
    const auto removed = add(CMTime(3, 1));
    time_.advance(2s);
    synchronizer_.removeTimeObserver(removed);
    synchronizer_.removeTimeObserver(removed);
    queue_->runPending();
    EXPECT_EQ(calls, 0) << "also not a call that waited";
}

TEST(SynchronizerThreads, realTimeFiresNearItsTime) {
    SampleBufferRenderSynchronizer synchronizer;
    const auto queue = dispatch::makeSerialQueue("observer");
    std::promise<double> fired;
    synchronizer.setRate(1, kCMTimeZero);
    const auto token = synchronizer.addBoundaryTimeObserver(
        {CMTime(1, 20)}, queue, [&] { fired.set_value(synchronizer.currentTime().seconds()); });
    auto result = fired.get_future();
    ASSERT_EQ(result.wait_for(5s), std::future_status::ready);
    const double at = result.get();
    EXPECT_GE(at, 0.05);
    EXPECT_LT(at, 0.55) << "too late even for a busy machine";
}

TEST(SynchronizerThreads, concurrentCallsKeepTheClockConsistent) {
    SampleBufferRenderSynchronizer synchronizer;
    const auto queue = dispatch::makeSerialQueue("observer");
    const auto renderer = std::make_shared<RecordingRenderer>();
    synchronizer.addRenderer(renderer);
    std::atomic<int> fired{0};
    const auto kept =
        synchronizer.addPeriodicTimeObserver(CMTime(1, 1), queue, [&](const CMTime&) { ++fired; });
    constexpr int kThreads = 4;
    std::vector<std::thread> threads;
    threads.reserve(kThreads);
    for (int thread = 0; thread < kThreads; ++thread) {
        threads.emplace_back([&, thread] {
            for (int i = 0; i < 200; ++i) {
                const auto token = synchronizer.addPeriodicTimeObserver(
                    CMTime(1, 1000), queue, [&](const CMTime&) { ++fired; });
                synchronizer.setRate(static_cast<float>(thread % 3), CMTime(i, 10));
                EXPECT_TRUE(synchronizer.currentTime().isNumeric());
                synchronizer.removeTimeObserver(token);
            }
        });
    }
    for (auto& thread : threads) {
        thread.join();
    }
    queue->sync([] {});
    EXPECT_EQ(renderer->anchors.size(), 801U);
    EXPECT_GE(fired, 800) << "a periodic observer is called for each change";
}

} // namespace
} // namespace zelvane
