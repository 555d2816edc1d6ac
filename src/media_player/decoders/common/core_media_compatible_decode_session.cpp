// SPDX-License-Identifier: GPL-3.0-or-later
#include "media_player/decoders/common/core_media_compatible_decode_session.h"

#include <thread>
#include <utility>

#include "core_media/ffmpeg_error.h"
#include "foundation/error.h"
#include "foundation/log.h"

namespace zelvane {
namespace {

// While its worker threads are busy, dav1d refuses input and has no output for a few rounds. After
// this many rounds the decoder is taken to be stuck.
constexpr int kMaxFruitlessRounds = 64;

} // namespace

CoreMediaCompatibleDecodeSession::CoreMediaCompatibleDecodeSession(
    CoreMediaCompatibleDecoder& decoder, SampleBufferHandler handler)
    : decoder_(decoder), handler_(std::move(handler)) {}

void CoreMediaCompatibleDecodeSession::setSampleBufferHandler(SampleBufferHandler handler) {
    handler_ = std::move(handler);
}

void CoreMediaCompatibleDecodeSession::decode(const PacketRef& packet) {
    feed(*packet);
}

void CoreMediaCompatibleDecodeSession::deliverReady() {
    while (deliverNextOrReset()) {
    }
}

void CoreMediaCompatibleDecodeSession::finish() {
    // At the end of the stream libavcodec drops a packet that it has not begun to decode.
    deliverReady();
    feed(Packet());
    try {
        while (deliverNext()) {
        }
    } catch (const Error& error) {
        logMessage("Failed to dequeue remaining sample buffers from media decoder: {}.",
                   errorDescriptionText(error));
        throw;
    }
}

void CoreMediaCompatibleDecodeSession::feed(const Packet& packet) {
    int fruitlessRounds = 0;
    while (!decoder_.startDecoding(packet)) {
        if (fruitlessRounds == kMaxFruitlessRounds) {
            // A damaged file must not end the process.
            logMessage("Unable to start decoding packet even though there are no more sample "
                       "buffers to dequeue.");
            decoder_.flush();
            throw FFmpegError::simple(FFmpegError::Case::posixEAGAIN);
        }
        if (deliverNextOrReset()) {
            fruitlessRounds = 0;
        } else {
            ++fruitlessRounds;
            std::this_thread::yield();
        }
    }
}

/// Whether there was a buffer.
bool CoreMediaCompatibleDecodeSession::deliverNextOrReset() {
    CMSampleBufferRef sampleBuffer;
    try {
        sampleBuffer = decoder_.dequeueSampleBuffer();
    } catch (const Error& error) {
        logMessage("Failed to dequeue a sample buffer: {}. Resetting the decoder so that we can "
                   "submit the next packet.",
                   errorDescriptionText(error));
        decoder_.flush();
        return false;
    }
    return deliver(sampleBuffer);
}

bool CoreMediaCompatibleDecodeSession::deliverNext() {
    return deliver(decoder_.dequeueSampleBuffer());
}

bool CoreMediaCompatibleDecodeSession::deliver(const CMSampleBufferRef& sampleBuffer) const {
    if (sampleBuffer == nullptr) {
        return false;
    }
    // A copy, since the handler may replace itself while it runs.
    const SampleBufferHandler handler = handler_;
    handler(sampleBuffer);
    return true;
}

} // namespace zelvane
