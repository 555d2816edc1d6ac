// SPDX-License-Identifier: GPL-3.0-or-later
#include "media_player/playback/decode_feed.h"

#include <utility>

#include "foundation/log.h"

namespace zelvane {

DecodeFeed::DecodeFeed(CoreMediaCompatibleDecoder& decoder,
                       std::shared_ptr<QueuedSampleBufferRendering> renderer, Receiver witness)
    : renderer_(std::move(renderer)), witness_(std::move(witness)),
      session_(decoder, [this](const CMSampleBufferRef& sampleBuffer) { receive(sampleBuffer); }) {
    // A track that was selected before has left its state in the decoder.
    flush();
}

void DecodeFeed::decode(const PacketRef& packet, std::string_view failure) {
    try {
        session_.decode(packet);
    } catch (const std::exception& error) {
        logMessage("{}: {}.", failure, errorDescriptionText(error));
    }
}

void DecodeFeed::finish() {
    isFinished_ = true;
    try {
        session_.finish();
    } catch (const std::exception&) {
        // The session has logged it, and the stream is over either way.
        return;
    }
}

void DecodeFeed::flush() {
    session_.decoder().flush();
    isFinished_ = false;
}

void DecodeFeed::enqueue(const CMSampleBufferRef& sampleBuffer) const {
    renderer_->enqueueSampleBuffer(sampleBuffer);
}

void DecodeFeed::receive(const CMSampleBufferRef& sampleBuffer) const {
    if (witness_) {
        witness_(sampleBuffer);
    }
    if (receiver_) {
        receiver_(sampleBuffer);
    } else {
        enqueue(sampleBuffer);
    }
}

DecodeFeed::Diversion::Diversion(DecodeFeed& feed, Receiver receiver) : feed_(feed) {
    feed_.receiver_ = std::move(receiver);
}

} // namespace zelvane
