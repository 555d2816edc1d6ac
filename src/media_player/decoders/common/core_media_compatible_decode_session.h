// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>

#include "media_player/decoders/common/media_decoder.h"

namespace zelvane {

/// Feeds one decoder with packets and hands each buffer that comes out to a handler, which may be
/// replaced at any time. Used by one serial queue; the handler runs on it, inside decode() and
/// finish(). The decoder lives longer than the session.
///
/// Output of the last packet stays in the decoder until a later packet, or finish(), pushes it out.
/// After finish() the session needs a flush() before the next packet.
class CoreMediaCompatibleDecodeSession {
  public:
    using SampleBufferHandler = std::function<void(const CMSampleBufferRef&)>;

    CoreMediaCompatibleDecodeSession(CoreMediaCompatibleDecoder& decoder,
                                     SampleBufferHandler handler);

    /// Also from inside the handler; the next buffer goes to the new one.
    void setSampleBufferHandler(SampleBufferHandler handler);
    CoreMediaCompatibleDecoder& decoder() const { return decoder_; }

    /// Feeds one packet, and dequeues first what the decoder has to give. A failure to dequeue
    /// loses the frames in the decoder only. Throws what the decoder throws for the packet; session
    /// and decoder stay usable.
    void decode(const PacketRef& packet);
    /// Delivers what the decoder has ready; decode() leaves it there while the decoder accepts
    /// packets. A failure loses the frames in the decoder.
    void deliverReady();
    /// Signals the end of the stream to the decoder, and delivers what it still holds. Throws what
    /// the decoder throws; what it holds then is lost.
    void finish();
    void flush() { decoder_.flush(); }

  private:
    void feed(const Packet& packet);
    bool deliverNextOrReset();
    bool deliverNext();
    bool deliver(const CMSampleBufferRef& sampleBuffer) const;

    CoreMediaCompatibleDecoder& decoder_;
    SampleBufferHandler handler_;
};

} // namespace zelvane
