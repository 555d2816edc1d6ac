// SPDX-License-Identifier: GPL-3.0-or-later
#include "media_player/playback/time_observer_manager.h"

#include <latch>
#include <utility>

namespace zelvane {
namespace {

/// Shared by the block of a one-shot observer and the call that installs it. The fields are final
/// once `installed` is counted down.
struct OneShot {
    std::latch installed{1};
    bool didFireImmediately = false;
    TimeObserverManager::ObserverRef observer;
};

} // namespace

TimeObserverManager::TimeObserverManager(std::shared_ptr<RenderSynchronizer> renderSynchronizer,
                                         const CMTime& startTime)
    : renderSynchronizer_(std::move(renderSynchronizer)), startTime_(startTime) {}

TimeObserverManager::ObserverRef
TimeObserverManager::addPeriodicTimeObserver(const CMTime& interval,
                                             std::shared_ptr<dispatch::Queue> queue,
                                             std::function<void(const CMTime&)> block) const {
    auto observer = std::make_shared<Observer>();
    observer->underlyingObserver_.store(renderSynchronizer_->addPeriodicTimeObserver(
        interval, std::move(queue),
        [startTime = startTime_, block = std::move(block)](const CMTime& time) {
            block(time - startTime);
        }));
    return observer;
}

TimeObserverManager::ObserverRef
TimeObserverManager::addBoundaryTimeObserver(std::vector<CMTime> times,
                                             std::shared_ptr<dispatch::Queue> queue,
                                             std::function<void()> block) const {
    for (CMTime& time : times) {
        time = time + startTime_;
    }
    auto observer = std::make_shared<Observer>();
    observer->underlyingObserver_.store(renderSynchronizer_->addBoundaryTimeObserver(
        std::move(times), std::move(queue), std::move(block)));
    return observer;
}

TimeObserverManager::ObserverRef
TimeObserverManager::addOneShotBoundaryTimeObserver(const CMTime& time,
                                                    const std::shared_ptr<dispatch::Queue>& queue,
                                                    std::function<void()> block) const {
    const CMTime target = startTime_ + time;
    const auto oneShot = std::make_shared<OneShot>();
    // A boundary that the clock passes during this call may fire at once, or never: the block waits
    // until that is known.
    oneShot->observer = addBoundaryTimeObserver({time}, queue, [manager = *this, oneShot, block] {
        oneShot->installed.wait();
        if (!oneShot->didFireImmediately && manager.removeTimeObserver(*oneShot->observer)) {
            block();
        }
    });
    if (target <= renderSynchronizer_->currentTime() - startTime_) {
        oneShot->didFireImmediately = true;
        removeTimeObserver(*oneShot->observer);
        (queue ? queue : dispatch::mainQueue())->async(std::move(block));
    }
    oneShot->installed.count_down();
    return oneShot->observer;
}

bool TimeObserverManager::removeTimeObserver(Observer& observer) const {
    return observer.underlyingObserver_.withLock([&](auto& token) {
        if (!token) {
            return false;
        }
        renderSynchronizer_->removeTimeObserver(token);
        token.reset();
        return true;
    });
}

} // namespace zelvane
