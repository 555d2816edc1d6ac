// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <atomic>
#include <memory>

#include "foundation/cm_time.h"
#include "foundation/dispatch.h"
#include "rendering/media_data_consumer.h"

namespace zelvane {

/// Feeds one consumer: the queue, the pull loop and the order of a seek that all providers share.
/// Used on its queue, except for perform() and the destructor.
///
/// The consumer calls the pull block on the queue when it wants data. The block provides until the
/// consumer is full, the data ends, or a perform() raises the cancel flag. At the end of the data,
/// and after a failed read, the provider stops requesting; a seek or a new track requests again.
class PullDrivenProvider : public std::enable_shared_from_this<PullDrivenProvider> {
  public:
    virtual ~PullDrivenProvider();
    PullDrivenProvider(const PullDrivenProvider&) = delete;
    PullDrivenProvider& operator=(const PullDrivenProvider&) = delete;

    /// Runs `task` on the provider's queue, even if the provider is destroyed by then. With
    /// `cancelling`, a pull loop that runs now ends after its present step. Any thread.
    void perform(bool cancelling, dispatch::Task task);

    /// Starts over at `time` on the file's own time line, and runs `completion` on
    /// `completionQueue` once the first data is handed on, or when that failed.
    void seek(const CMTime& time, const std::shared_ptr<dispatch::Queue>& completionQueue,
              dispatch::Task completion);

  protected:
    enum class Feeding { continues, finished };

    PullDrivenProvider(std::shared_ptr<dispatch::Queue> queue,
                       std::shared_ptr<MediaDataConsumer> consumer);

    /// Without a track nothing is provided, and a seek only runs its completion.
    virtual bool hasTrack() const = 0;
    /// Reads one packet and hands on what it decodes to.
    virtual Feeding provideNext() = 0;
    /// Drops what the consumer has and hands on the first data at or after `time`. The consumer's
    /// next request comes after this.
    virtual void startOver(const CMTime& time) = 0;

    void requestMediaData();
    void stopRequestingMediaData() { consumer_->stopRequestingMediaData(); }
    bool isOnQueue() const { return queue_->isCurrent(); }

  private:
    /// Whether to continue.
    bool pull();

    const std::shared_ptr<dispatch::Queue> queue_;
    const std::shared_ptr<MediaDataConsumer> consumer_;
    std::atomic<bool> shouldCancelProvideFunction_{false};
};

} // namespace zelvane
