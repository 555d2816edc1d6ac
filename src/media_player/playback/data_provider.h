// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>
#include <string>

#include "media_player/playback/decode_feed.h"
#include "media_player/playback/pull_driven_provider.h"
#include "rendering/queued_sample_buffer_rendering.h"

namespace zelvane {

/// Feeds a renderer of sample buffers from one decoder. It has no buffer of its own.
class DataProvider : public PullDrivenProvider {
  protected:
    DataProvider(std::string queueLabel, std::shared_ptr<QueuedSampleBufferRendering> renderer);

    /// Answers a seek from recent data, if that is possible. Otherwise the renderer is unchanged.
    virtual bool seekAmongRecent(const CMTime& /*time*/) { return false; }
    /// Called by any other seek when everything is flushed: enqueues the first data at or after
    /// `time`.
    virtual void seekTracks(const CMTime& time) = 0;
    /// Called between the flush and seekTracks.
    virtual void willSeekTracks() {}
    /// Sees each buffer that the decoder gives.
    virtual void didDecode(const CMSampleBufferRef& /*sampleBuffer*/) {}

    /// Replaces the session by one on this decoder, or by none.
    void setDecoder(CoreMediaCompatibleDecoder* decoder);
    /// None without a track.
    const std::unique_ptr<DecodeFeed>& feed() const { return feed_; }

  private:
    bool hasTrack() const final { return feed_ != nullptr; }
    void startOver(const CMTime& time) final;

    const std::shared_ptr<QueuedSampleBufferRendering> renderer_;
    std::unique_ptr<DecodeFeed> feed_;
};

} // namespace zelvane
