// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <memory>
#include <mutex>

#include "foundation/dispatch.h"

namespace zelvane {

/// The registration of a provider at a renderer: its block runs on its queue, one call at a time,
/// for as long as the renderer is ready and the registration is not cancelled. Any thread.
class MediaDataRequest : public std::enable_shared_from_this<MediaDataRequest> {
  public:
    /// `isReady` is called on any thread, without a lock.
    MediaDataRequest(std::shared_ptr<dispatch::Queue> queue, dispatch::Task block,
                     std::function<bool()> isReady)
        : queue_(std::move(queue)), block_(std::move(block)), isReady_(std::move(isReady)) {}

    /// Schedules a call of the block if the renderer is ready. To be called when that may have
    /// changed.
    void poll() {
        if (!isReady_()) {
            return;
        }
        const std::lock_guard lock(mutex_);
        if (!isScheduled_ && !isCancelled_) {
            isScheduled_ = true;
            // Weak: a task on a queue that no longer runs would keep the objects that own the
            // queue.
            queue_->async([weak = weak_from_this()] {
                if (const auto self = weak.lock()) {
                    self->call();
                }
            });
        }
    }

    /// No call of the block starts afterwards.
    void cancel() {
        const std::lock_guard lock(mutex_);
        isCancelled_ = true;
    }

  private:
    void call() {
        {
            const std::lock_guard lock(mutex_);
            isScheduled_ = false;
            if (isCancelled_) {
                return;
            }
        }
        if (isReady_()) {
            block_();
        }
        poll();
    }

    const std::shared_ptr<dispatch::Queue> queue_;
    const dispatch::Task block_;
    const std::function<bool()> isReady_;
    std::mutex mutex_;
    bool isScheduled_ = false;
    bool isCancelled_ = false;
};

} // namespace zelvane
