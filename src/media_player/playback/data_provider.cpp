// SPDX-License-Identifier: GPL-3.0-or-later
#include "media_player/playback/data_provider.h"

#include <cassert>
#include <utility>

namespace zelvane {

DataProvider::DataProvider(std::string queueLabel,
                           std::shared_ptr<QueuedSampleBufferRendering> renderer)
    : PullDrivenProvider(dispatch::makeSerialQueue(std::move(queueLabel),
                                                   dispatch::QualityOfService::userInitiated),
                         renderer),
      renderer_(std::move(renderer)) {}

void DataProvider::startOver(const CMTime& time) {
    if (!seekAmongRecent(time)) {
        feed_->flush();
        renderer_->flush();
        willSeekTracks();
        seekTracks(time);
    }
}

void DataProvider::setDecoder(CoreMediaCompatibleDecoder* decoder) {
    assert(isOnQueue());
    feed_ = decoder == nullptr
                ? nullptr
                : std::make_unique<DecodeFeed>(
                      *decoder, renderer_,
                      [this](const CMSampleBufferRef& sampleBuffer) { didDecode(sampleBuffer); });
}

} // namespace zelvane
