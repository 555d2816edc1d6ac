// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <memory>
#include <mutex>

#include "foundation/dispatch.h"

namespace zelvane {

/// The standing order of a renderer's provider: its block runs on its queue again and again, one
/// call at a time, while the renderer is ready and the order stands. Any thread.
class MediaDataRequest : public std::enable_shared_from_this<MediaDataRequest> {
  public:
    /// `isReady` may be called on any thread, with no lock held.
    MediaDataRequest(std::shared_ptr<dispatch::Queue> queue, dispatch::Task block,
                     std::function<bool()> isReady)
        : queue_(std::move(queue)), block_(std::move(block)), isReady_(std::move(isReady)) {}

    /// Looks whether the block is to be called.
    void poll() {
        if (!isReady_()) {
            return;
        }
        const std::lock_guard lock(mutex_);
        if (!isScheduled_ && !isCancelled_) {
            isScheduled_ = true;
            // Weak: a queue that never runs again must not keep what keeps it.
            queue_->async([weak = weak_from_this()] {
                if (const auto self = weak.lock()) {
                    self->call();
                }
            });
        }
    }

    /// No call starts afterwards.
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
