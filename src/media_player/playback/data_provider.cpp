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
            provideWhileReady();
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
        if (const auto self = weakSelf.lock()) {
            self->pull();
        }
    });
}

void DataProvider::pull() {
    if (feed_) {
        provideWhileReady();
    } else {
        stopRequestingMediaData();
    }
}

void DataProvider::provideWhileReady() {
    while (renderer_->isReadyForMoreMediaData() && !shouldCancelProvideFunction_.load()) {
        if (provideNext() == Feeding::isOver) {
            stopRequestingMediaData();
            return;
        }
    }
}

} // namespace zelvane
