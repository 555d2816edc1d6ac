// SPDX-License-Identifier: GPL-3.0-or-later
#include "media_player/playback/buffer_data_requester.h"

#include <mutex>
#include <utility>

#include "rendering/media_data_request.h"

namespace zelvane {

class BufferDataRequester::State {
  public:
    State(int lowWaterMark, int highWaterMark)
        : lowWaterMark_(lowWaterMark), highWaterMark_(highWaterMark) {}

    bool isFilling() const {
        const std::lock_guard lock(mutex_);
        return isFilling_;
    }

    int bufferCount() const {
        const std::lock_guard lock(mutex_);
        return bufferCount_;
    }

    /// Replaces the request; `request` may be null.
    void setRequest(std::shared_ptr<MediaDataRequest> request) {
        change([&] {
            isFilling_ = false;
            request_.swap(request);
        });
        if (request) {
            request->cancel();
        }
    }

    void setBufferCount(int bufferCount) {
        // During a delivery the frame that is delivered would count twice.
        change([&] { (isDelivering_ ? countAfterDelivery_ : bufferCount_) = bufferCount; });
    }
    void willDeliver() {
        change([&] { ++underWay_; });
    }
    void beginDelivery() {
        change([&] {
            isDelivering_ = true;
            countAfterDelivery_ = bufferCount_;
        });
    }
    void endDelivery() {
        change([&] {
            isDelivering_ = false;
            bufferCount_ = countAfterDelivery_;
            --underWay_;
        });
    }

  private:
    /// Applies `body` to the fields and starts a request where they ask for one.
    template <class Body>
    void change(const Body& body) {
        std::shared_ptr<MediaDataRequest> request;
        {
            const std::lock_guard lock(mutex_);
            body();
            updateFilling();
            request = request_;
        }
        if (request) {
            request->poll();
        }
    }

    void updateFilling() {
        const int count = bufferCount_ + underWay_;
        isFilling_ = count <= lowWaterMark_ || (isFilling_ && count < highWaterMark_);
    }

    mutable std::mutex mutex_;
    const int lowWaterMark_;
    const int highWaterMark_;
    int bufferCount_ = 0;
    int countAfterDelivery_ = 0;
    int underWay_ = 0;
    bool isDelivering_ = false;
    bool isFilling_ = false;
    std::shared_ptr<MediaDataRequest> request_;
};

BufferDataRequester::BufferDataRequester(int lowWaterMark, int highWaterMark)
    : state_(std::make_shared<State>(lowWaterMark, highWaterMark)) {}

BufferDataRequester::~BufferDataRequester() {
    state_->setRequest(nullptr);
}

bool BufferDataRequester::isReadyForMoreMediaData() const {
    return state_->isFilling();
}

void BufferDataRequester::requestMediaDataWhenReady(std::shared_ptr<dispatch::Queue> queue,
                                                    dispatch::Task block) {
    state_->setRequest(std::make_shared<MediaDataRequest>(std::move(queue), std::move(block),
                                                          [weak = std::weak_ptr(state_)] {
                                                              const auto state = weak.lock();
                                                              return state && state->isFilling();
                                                          }));
}

void BufferDataRequester::stopRequestingMediaData() {
    state_->setRequest(nullptr);
}

void BufferDataRequester::setBufferCount(int bufferCount) {
    state_->setBufferCount(bufferCount);
}

int BufferDataRequester::bufferCount() const {
    return state_->bufferCount();
}

void BufferDataRequester::willDeliver() {
    state_->willDeliver();
}

void BufferDataRequester::deliver(const dispatch::Task& addFrame) {
    state_->beginDelivery();
    addFrame();
    state_->endDelivery();
}

} // namespace zelvane
