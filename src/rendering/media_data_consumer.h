// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>

#include "foundation/dispatch.h"

namespace zelvane {

/// A receiver of media data that calls its provider when it wants more. One provider feeds one
/// consumer, from the provider's own queue.
class MediaDataConsumer {
  public:
    virtual ~MediaDataConsumer() = default;

    /// Whether the consumer wants more. This alone decides how far ahead of the clock a provider
    /// reads; giving data while it is false is allowed, and costs memory.
    virtual bool isReadyForMoreMediaData() const = 0;
    /// Calls `block` on `queue` repeatedly while the consumer is ready, until
    /// stopRequestingMediaData. Replaces an earlier registration.
    virtual void requestMediaDataWhenReady(std::shared_ptr<dispatch::Queue> queue,
                                           dispatch::Task block) = 0;
    /// Ends the registration, if there is one. Once this returns on the registered queue, the block
    /// is not called again.
    virtual void stopRequestingMediaData() = 0;
};

} // namespace zelvane
