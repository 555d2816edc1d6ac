// SPDX-License-Identifier: GPL-3.0-or-later
#include "media_player/playback/recent_frames.h"

#include <algorithm>
#include <iterator>

#include "media_player/playback/seek_relevance.h"

namespace zelvane {
namespace {

/// By its own duration: the newest frame has no successor.
bool lastsAt(const CMSampleBuffer& frame, const CMTime& time) {
    const CMTime end = frame.presentationTimeStamp() + frame.duration();
    return end.isNumeric() && time < end && !mayEndAt(frame, time);
}

} // namespace

void RecentFrames::beginSeek() {
    isSeeking_ = true;
    framesSinceSeek_ = 0;
}

void RecentFrames::endSeek() {
    isSeeking_ = false;
    framesSinceSeek_ = 0;
}

void RecentFrames::add(const CMSampleBufferRef& frame) {
    const CMTime time = frame->presentationTimeStamp();
    const auto& picture = frame->imageBuffer();
    if (!frames_.empty() && time <= frames_.back()->presentationTimeStamp()) {
        clear();
    }
    if (picture == nullptr || picture->deviceFrame() != nullptr || !time.isNumeric()) {
        clear();
        return;
    }
    frames_.push_back(frame);
    bytesPerFrame_ = std::max<std::size_t>(picture->dataSize(), 1);
    bytes_ += bytesPerFrame_;
    framesSinceSeek_ += isSeeking_ ? 0 : 1;
    while (bytes_ > limit()) {
        dropOldest();
    }
}

std::size_t RecentFrames::limit() const {
    return framesSinceSeek_ <= limits_.framesAfterSeek ? limits_.bytes : limits_.bytesInPlayback;
}

void RecentFrames::dropOldest() {
    bytes_ -= frames_.front()->imageBuffer()->dataSize();
    frames_.pop_front();
}

void RecentFrames::clear() {
    frames_.clear();
    bytes_ = 0;
}

std::vector<CMSampleBufferRef> RecentFrames::from(const CMTime& time) const {
    const auto later = std::upper_bound(frames_.begin(), frames_.end(), time,
                                        [](const CMTime& left, const auto& frame) {
                                            return left < frame->presentationTimeStamp();
                                        });
    if (later == frames_.begin()) {
        return {};
    }
    const auto seen = std::prev(later);
    if (later == frames_.end() && !lastsAt(**seen, time)) {
        return {};
    }
    return {seen, frames_.end()};
}

std::size_t RecentFrames::capacityBefore() const {
    const std::size_t capacity = limits_.bytes / bytesPerFrame_;
    return capacity - std::min(capacity, limits_.framesAfterSeek);
}

} // namespace zelvane
