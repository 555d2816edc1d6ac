// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>
#include <string_view>

#include "media_player/decoders/common/core_media_compatible_decode_session.h"
#include "rendering/queued_sample_buffer_rendering.h"

namespace zelvane {

/// A decode session whose buffers go to a renderer: all of them, or, while a seek looks for its
/// target, those that lie there or later. Used on its provider's queue.
class DecodeFeed {
  public:
    /// Begins with a flushed decoder, which outlives this.
    DecodeFeed(CoreMediaCompatibleDecoder& decoder,
               std::shared_ptr<QueuedSampleBufferRendering> renderer);
    DecodeFeed(const DecodeFeed&) = delete;
    DecodeFeed& operator=(const DecodeFeed&) = delete;

    /// A packet that cannot be decoded is logged, as "<failure>: <error>.", and costs a gap.
    void decode(const PacketRef& packet, std::string_view failure);
    /// Gives what the decoder still holds; a failure ends that silently.
    void finish();
    void flush();

    /// While it lives, only what is relevant for a seek to `target` reaches the renderer.
    class SeekFilter {
      public:
        SeekFilter(DecodeFeed& feed, const CMTime& target);
        ~SeekFilter();
        SeekFilter(const SeekFilter&) = delete;
        SeekFilter& operator=(const SeekFilter&) = delete;

        /// Whether a relevant buffer has been enqueued.
        bool foundRelevant() const { return foundRelevant_; }

      private:
        DecodeFeed& feed_;
        bool foundRelevant_ = false;
    };

  private:
    void enqueueAll();

    std::shared_ptr<QueuedSampleBufferRendering> renderer_;
    CoreMediaCompatibleDecodeSession session_;
};

} // namespace zelvane
