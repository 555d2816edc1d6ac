// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <atomic>

#include "core_media/cm_sample_buffer.h"
#include "foundation/host_clock.h"
#include "rendering/queued_sample_buffer_rendering.h"

namespace zelvane {

/// Shows pictures of a long search while the user scrubs, so that the picture follows the pointer.
/// Used on its provider's queue, except for setIsScrubbing().
class SearchProgress {
  public:
    explicit SearchProgress(std::shared_ptr<QueuedSampleBufferRendering> renderer)
        : renderer_(std::move(renderer)) {}

    /// Any thread.
    void setIsScrubbing(bool isScrubbing) { isScrubbing_ = isScrubbing; }

    void beginSearch() { isShown_ = false; }
    /// Whether the user scrubs and no picture of a search was shown for a while.
    bool isDue() const;
    void show(const CMSampleBufferRef& picture);
    /// Passes the answer of the search, and each later picture, to the renderer. The answer takes
    /// the place of a picture of the search.
    void passAnswer(const CMSampleBufferRef& picture);

  private:
    void showAlone(const CMSampleBufferRef& picture);

    std::shared_ptr<QueuedSampleBufferRendering> renderer_;
    std::atomic<bool> isScrubbing_{false};
    HostTime shownAt_{0};
    bool isShown_ = false;
};

} // namespace zelvane
