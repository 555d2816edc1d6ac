// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>
#include <string_view>

#include "media_player/decoders/common/core_media_compatible_decode_session.h"
#include "rendering/queued_sample_buffer_rendering.h"

namespace zelvane {

/// A decode session whose buffers go to a renderer or, while a seek searches for its target, to a
/// receiver that examines them. Used on its provider's queue.
class DecodeFeed {
  public:
    using Receiver = CoreMediaCompatibleDecodeSession::SampleBufferHandler;

    /// Begins with a flushed decoder, which outlives this. `witness` sees each buffer first;
    /// it may be empty.
    DecodeFeed(CoreMediaCompatibleDecoder& decoder,
               std::shared_ptr<QueuedSampleBufferRendering> renderer, Receiver witness);
    DecodeFeed(const DecodeFeed&) = delete;
    DecodeFeed& operator=(const DecodeFeed&) = delete;

    /// A packet that cannot be decoded is logged as "<failure>: <error>." and leaves a gap.
    void decode(const PacketRef& packet, std::string_view failure);
    /// Delivers what the decoder has ready.
    void deliverReady() { session_.deliverReady(); }
    /// Delivers what the decoder still holds; a failure ends that silently. A flush is needed
    /// before more is decoded.
    void finish();
    void flush();
    bool isFinished() const { return isFinished_; }
    CoreMediaCompatibleDecoder& decoder() const { return session_.decoder(); }
    void enqueue(const CMSampleBufferRef& sampleBuffer) const;

    /// While it lives, the buffers go to `receiver` in place of the renderer.
    class Diversion {
      public:
        Diversion(DecodeFeed& feed, Receiver receiver);
        ~Diversion() { feed_.receiver_ = nullptr; }
        Diversion(const Diversion&) = delete;
        Diversion& operator=(const Diversion&) = delete;

      private:
        DecodeFeed& feed_;
    };

  private:
    void receive(const CMSampleBufferRef& sampleBuffer) const;

    std::shared_ptr<QueuedSampleBufferRendering> renderer_;
    Receiver witness_;
    Receiver receiver_;
    CoreMediaCompatibleDecodeSession session_;
    bool isFinished_ = false;
};

} // namespace zelvane
