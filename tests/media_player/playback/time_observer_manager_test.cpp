// SPDX-License-Identifier: GPL-3.0-or-later
#include "media_player/playback/time_observer_manager.h"

#include <gmock/gmock.h>

#include "tests/media_player/playback/playback_fakes.h"

namespace zelvane::test {
namespace {

using testing::ElementsAre;

class TimeObserverManagerTest : public testing::Test {
  protected:
    MainQueueScope main_;
    std::shared_ptr<FakeSynchronizer> clock_ = std::make_shared<FakeSynchronizer>();
    std::shared_ptr<dispatch::Queue> queue_ = dispatch::makeSerialQueue("observers");
    TimeObserverManager fromZero_{clock_, kCMTimeZero};
    TimeObserverManager fromFiveSeconds_{clock_, ms(5000)};
};

TEST_F(TimeObserverManagerTest, periodicTimesAreRelativeToTheStart) {
    std::vector<std::int64_t> reported;
    const auto observer = fromFiveSeconds_.addPeriodicTimeObserver(
        ms(100), queue_, [&](const CMTime& time) { reported.push_back(inMilliseconds(time)); });
    clock_->setRate(0, ms(7000));
    main_.settle();
    EXPECT_THAT(reported, ElementsAre(2000));
}

TEST_F(TimeObserverManagerTest, boundariesAreRelativeToTheStartAndStay) {
    int calls = 0;
    const auto observer =
        fromFiveSeconds_.addBoundaryTimeObserver({ms(1000), ms(2000)}, queue_, [&] { ++calls; });
    for (const auto& [time, callsThen] :
         std::initializer_list<std::pair<int, int>>{{2000, 0}, {6000, 1}, {7000, 2}}) {
        clock_->runTo(ms(time));
        main_.settle();
        EXPECT_EQ(calls, callsThen) << time;
    }
    clock_->setRate(0, ms(0));
    clock_->runTo(ms(6500));
    main_.settle();
    EXPECT_EQ(calls, 3);
}

TEST_F(TimeObserverManagerTest, aOneShotFiresOnceWhenTheClockReachesItsTime) {
    int calls = 0;
    clock_->runTo(ms(1000));
    const auto observer =
        fromZero_.addOneShotBoundaryTimeObserver(ms(1001), queue_, [&] { ++calls; });
    main_.settle();
    EXPECT_EQ(calls, 0);
    for (int round = 0; round < 2; ++round) {
        clock_->setRate(0, ms(1000));
        clock_->runTo(ms(2000));
        main_.settle();
        EXPECT_EQ(calls, 1);
    }
}

TEST_F(TimeObserverManagerTest, aOneShotAtOrBeforeTheClockFiresAtOnce) {
    clock_->runTo(ms(1000));
    const std::shared_ptr<dispatch::Queue> noQueue;
    for (const auto& queue : {queue_, noQueue}) {
        for (const int time : {-1, 0, 999, 1000}) {
            int calls = 0;
            const auto observer = fromZero_.addOneShotBoundaryTimeObserver(ms(time), queue, [&] {
                EXPECT_TRUE((queue ? queue : dispatch::mainQueue())->isCurrent());
                ++calls;
            });
            main_.settle();
            EXPECT_EQ(calls, 1) << time;
            EXPECT_FALSE(fromZero_.removeTimeObserver(*observer));
        }
    }
}

TEST_F(TimeObserverManagerTest, aOneShotThatIsCrossedWhileItIsAddedFiresOnce) {
    for (int round = 0; round < 50; ++round) {
        int calls = 0;
        clock_->setRate(0, ms(0));
        clock_->crossWhileAdding(ms(20));
        const auto observer =
            fromZero_.addOneShotBoundaryTimeObserver(ms(10), queue_, [&] { ++calls; });
        main_.settle();
        EXPECT_EQ(calls, 1);
    }
}

TEST_F(TimeObserverManagerTest, aRemovedObserverNeverFiresAndIsRemovedOnce) {
    int calls = 0;
    const auto oneShot = fromZero_.addOneShotBoundaryTimeObserver(ms(10), queue_, [&] { ++calls; });
    const auto boundary = fromZero_.addBoundaryTimeObserver({ms(10)}, queue_, [&] { ++calls; });
    for (const auto& observer : {oneShot, boundary}) {
        EXPECT_TRUE(fromZero_.removeTimeObserver(*observer));
        EXPECT_FALSE(fromZero_.removeTimeObserver(*observer));
    }
    clock_->runTo(ms(20));
    main_.settle();
    EXPECT_EQ(calls, 0);
    EXPECT_EQ(clock_->removals(), 2);
}

} // namespace
} // namespace zelvane::test
