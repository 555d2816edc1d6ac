// SPDX-License-Identifier: GPL-3.0-or-later
#include "media_player/playback/data_provider.h"

#include <cassert>
#include <utility>

namespace zelvane {

DataProvider::DataProvider(std::string queueLabel,
                           std::shared_ptr<QueuedSampleBufferRendering> renderer)
    : renderer_(std::move(renderer)),
      queue_(dispatch::makeSerialQueue(std::move(queueLabel),
                                       dispatch::QualityOfService::userInitiated)) {}

DataProvider::~DataProvider() {
    renderer_->stopRequestingMediaData();
}

void DataProvider::perform(bool cancelling, dispatch::Task task) {
    if (cancelling) {
        shouldCancelProvideFunction_.store(true);
    }
    queue_->async([weakSelf = weak_from_this(), task = std::move(task)] {
        if (const auto self = weakSelf.lock()) {
            self->shouldCancelProvideFunction_.store(false);
        }
        task();
    });
}

void DataProvider::seek(const CMTime& time, bool shouldProvideData,
                        const std::shared_ptr<dispatch::Queue>& completionQueue,
                        dispatch::Task completion) {
    assert(queue_->isCurrent());
    if (feed_) {
        stopRequestingMediaData();
        // The block cannot run before this task ends, so asking first loses no call.
        requestMediaData();
        if (!seekAmongRecent(time)) {
            feed_->flush();
            renderer_->flush();
            willSeekTracks();
            seekTracks(time);
        }
        if (shouldProvideData) {
            while (provideIfReady()) {
            }
        }
    }
    completionQueue->async(std::move(completion));
}

void DataProvider::setDecoder(CoreMediaCompatibleDecoder* decoder) {
    assert(queue_->isCurrent());
    feed_ = decoder == nullptr
                ? nullptr
                : std::make_unique<DecodeFeed>(
                      *decoder, renderer_,
                      [this](const CMSampleBufferRef& sampleBuffer) { didDecode(sampleBuffer); });
}

void DataProvider::requestMediaData() {
    renderer_->requestMediaDataWhenReady(queue_, [weakSelf = weak_from_this()] {
        // Held for a packet at a time: nothing is read ahead for a player that has gone.
        bool goesOn = true;
        while (goesOn) {
            const auto self = weakSelf.lock();
            goesOn = self && self->pull();
        }
    });
}

bool DataProvider::pull() {
    if (!feed_) {
        stopRequestingMediaData();
        return false;
    }
    return provideIfReady();
}

bool DataProvider::provideIfReady() {
    if (!renderer_->isReadyForMoreMediaData() || shouldCancelProvideFunction_.load()) {
        return false;
    }
    const bool isOver = provideNext() == Feeding::isOver;
    if (isOver) {
        stopRequestingMediaData();
    }
    return !isOver;
}

} // namespace zelvane
