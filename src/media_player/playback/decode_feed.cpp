// SPDX-License-Identifier: GPL-3.0-or-later
#include "media_player/playback/decode_feed.h"

#include <utility>

#include "foundation/log.h"
#include "media_player/playback/seek_relevance.h"

namespace zelvane {

DecodeFeed::DecodeFeed(CoreMediaCompatibleDecoder& decoder,
                       std::shared_ptr<QueuedSampleBufferRendering> renderer)
    : renderer_(std::move(renderer)), session_(decoder, {}) {
    enqueueAll();
    // A track that was selected before has left its state in the decoder.
    session_.decoder().flush();
}

void DecodeFeed::decode(const PacketRef& packet, std::string_view failure) {
    try {
        session_.decode(packet);
    } catch (const std::exception& error) {
        logMessage("{}: {}.", failure, errorDescriptionText(error));
    }
}

void DecodeFeed::finish() {
    try {
        session_.finish();
    } catch (const std::exception&) {
        // The session has logged it, and the stream is over either way.
        return;
    }
}

void DecodeFeed::flush() {
    session_.decoder().flush();
}

void DecodeFeed::enqueueAll() {
    session_.setSampleBufferHandler([renderer = renderer_](const CMSampleBufferRef& sampleBuffer) {
        renderer->enqueueSampleBuffer(sampleBuffer);
    });
}

DecodeFeed::SeekFilter::SeekFilter(DecodeFeed& feed, const CMTime& target) : feed_(feed) {
    feed_.session_.setSampleBufferHandler([this, target](const CMSampleBufferRef& sampleBuffer) {
        if (isRelevantForSeeking(*sampleBuffer, target)) {
            foundRelevant_ = true;
            feed_.renderer_->enqueueSampleBuffer(sampleBuffer);
        }
    });
}

DecodeFeed::SeekFilter::~SeekFilter() {
    feed_.enqueueAll();
}

} // namespace zelvane
