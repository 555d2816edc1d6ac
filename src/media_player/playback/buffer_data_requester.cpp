// SPDX-License-Identifier: GPL-3.0-or-later
#include "media_player/playback/buffer_data_requester.h"

#include <utility>

namespace zelvane {

/// Touched on its serial queue only, but for the queue itself.
class BufferDataRequester::Internals : public std::enable_shared_from_this<Internals> {
  public:
    Internals(int lowWaterMark, int highWaterMark)
        : lowWaterMark_(lowWaterMark), highWaterMark_(highWaterMark) {}

    const std::shared_ptr<dispatch::Queue>& serialQueue() const { return serialQueue_; }

    void setBufferCount(int bufferCount) {
        bufferCount_ = bufferCount;
        requestDataIfNeeded();
    }

    void setDataProducer(std::optional<DataProducer> dataProducer) {
        dataProducer_ = std::move(dataProducer);
        requestDataIfNeeded();
    }

    bool shouldProvideMoreData(int underWay) const {
        return bufferCount_ + underWay < highWaterMark_;
    }

  private:
    void requestDataIfNeeded() {
        if (!dataProducer_ || bufferCount_ > lowWaterMark_ || isRequestingData_) {
            return;
        }
        isRequestingData_ = true;
        dataProducer_->queue->async([weakSelf = weak_from_this(), block = dataProducer_->block] {
            block();
            if (const auto self = weakSelf.lock()) {
                self->serialQueue_->async([self] { self->isRequestingData_ = false; });
            }
        });
    }

    const std::shared_ptr<dispatch::Queue> serialQueue_ =
        dispatch::makeSerialQueue("Buffer Data Requester Queue");
    const int lowWaterMark_;
    const int highWaterMark_;
    int bufferCount_ = 0;
    std::optional<DataProducer> dataProducer_;
    bool isRequestingData_ = false;
};

BufferDataRequester::BufferDataRequester(int lowWaterMark, int highWaterMark)
    : internals_(std::make_shared<Internals>(lowWaterMark, highWaterMark)) {}

void BufferDataRequester::setBufferCount(int bufferCount) const {
    internals_->serialQueue()->sync([&] { internals_->setBufferCount(bufferCount); });
}

void BufferDataRequester::setDataProducer(std::optional<DataProducer> dataProducer) const {
    internals_->serialQueue()->sync([&] { internals_->setDataProducer(std::move(dataProducer)); });
}

bool BufferDataRequester::shouldProvideMoreData(int underWay) const {
    return internals_->serialQueue()->sync(
        [&] { return internals_->shouldProvideMoreData(underWay); });
}

} // namespace zelvane
