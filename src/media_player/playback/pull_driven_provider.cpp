// SPDX-License-Identifier: GPL-3.0-or-later
#include "media_player/playback/pull_driven_provider.h"

#include <cassert>
#include <utility>

namespace zelvane {

PullDrivenProvider::PullDrivenProvider(std::shared_ptr<dispatch::Queue> queue,
                                       std::shared_ptr<MediaDataConsumer> consumer)
    : queue_(std::move(queue)), consumer_(std::move(consumer)) {}

PullDrivenProvider::~PullDrivenProvider() {
    consumer_->stopRequestingMediaData();
}

void PullDrivenProvider::perform(bool cancelling, dispatch::Task task) {
    if (cancelling) {
        shouldCancelProvideFunction_ = true;
    }
    queue_->async([weakSelf = weak_from_this(), task = std::move(task)] {
        if (const auto self = weakSelf.lock()) {
            self->shouldCancelProvideFunction_ = false;
        }
        task();
    });
}

void PullDrivenProvider::seek(const CMTime& time,
                              const std::shared_ptr<dispatch::Queue>& completionQueue,
                              dispatch::Task completion) {
    assert(isOnQueue());
    if (hasTrack()) {
        stopRequestingMediaData();
        // The block cannot run before this task ends, so an early request loses no call.
        requestMediaData();
        startOver(time);
    }
    completionQueue->async(std::move(completion));
}

void PullDrivenProvider::requestMediaData() {
    consumer_->requestMediaDataWhenReady(queue_, [weakSelf = weak_from_this()] {
        // Held for one packet at a time: a destroyed player stops the reading.
        bool continues = true;
        while (continues) {
            const auto self = weakSelf.lock();
            continues = self && self->pull();
        }
    });
}

bool PullDrivenProvider::pull() {
    if (!hasTrack()) {
        stopRequestingMediaData();
        return false;
    }
    if (!consumer_->isReadyForMoreMediaData() || shouldCancelProvideFunction_) {
        return false;
    }
    const bool isFinished = provideNext() == Feeding::finished;
    if (isFinished) {
        stopRequestingMediaData();
    }
    return !isFinished;
}

} // namespace zelvane
