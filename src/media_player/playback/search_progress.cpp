// SPDX-License-Identifier: GPL-3.0-or-later
#include "media_player/playback/search_progress.h"

#include <utility>

namespace zelvane {
namespace {

constexpr HostDuration kInterval = std::chrono::milliseconds(70);

} // namespace

bool SearchProgress::isDue() const {
    return isScrubbing_ && HostClock::system()->now() - shownAt_ >= kInterval;
}

void SearchProgress::show(const CMSampleBufferRef& picture) {
    showAlone(picture);
    isShown_ = true;
}

void SearchProgress::passAnswer(const CMSampleBufferRef& picture) {
    if (std::exchange(isShown_, false)) {
        showAlone(picture);
    } else {
        renderer_->enqueueSampleBuffer(picture);
    }
}

/// The first picture after a flush is shown at once, whatever the time of the clock is.
void SearchProgress::showAlone(const CMSampleBufferRef& picture) {
    renderer_->flush();
    renderer_->enqueueSampleBuffer(picture);
    shownAt_ = HostClock::system()->now();
}

} // namespace zelvane
