// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>
#include <string>

#include "foundation/atomic.h"
#include "media_player/playback/data_providing.h"
#include "media_player/playback/decode_feed.h"
#include "rendering/queued_sample_buffer_rendering.h"

namespace zelvane {

/// What the providers of sound and picture share: the queue, the pull loop and the order of a seek.
/// Used on its queue, but for perform() and the end of its life.
///
/// It has no buffer of its own. The renderer calls the pull block on the queue when it wants data;
/// the block reads and decodes until the renderer is full, the data is at its end, or somebody who
/// waits for the queue has raised the cancel flag. At the end, and after a failed read, it no
/// longer asks; a seek or a new track asks anew.
class DataProvider : public DataProviding, public std::enable_shared_from_this<DataProvider> {
  public:
    ~DataProvider() override;
    DataProvider(const DataProvider&) = delete;
    DataProvider& operator=(const DataProvider&) = delete;

    void perform(bool cancelling, dispatch::Task task) final;
    void seek(const CMTime& time, bool shouldProvideData,
              const std::shared_ptr<dispatch::Queue>& completionQueue,
              dispatch::Task completion) final;

  protected:
    enum class Feeding { goesOn, isOver };

    DataProvider(std::string queueLabel, std::shared_ptr<QueuedSampleBufferRendering> renderer);

    /// Reads and decodes one packet.
    virtual Feeding provideNext() = 0;
    /// Answers a seek out of what is at hand, if that can be done; the renderer is as before.
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
    /// Has the renderer call the pull block.
    void requestMediaData();
    void stopRequestingMediaData() { renderer_->stopRequestingMediaData(); }
    /// None without a track.
    const std::unique_ptr<DecodeFeed>& feed() const { return feed_; }

  private:
    /// Both say whether to go on.
    bool pull();
    bool provideIfReady();

    std::shared_ptr<QueuedSampleBufferRendering> renderer_;
    std::shared_ptr<dispatch::Queue> queue_;
    Atomic<bool> shouldCancelProvideFunction_{false};
    std::unique_ptr<DecodeFeed> feed_;
};

} // namespace zelvane
