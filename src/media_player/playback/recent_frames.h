// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <deque>
#include <vector>

#include "core_media/cm_sample_buffer.h"

namespace zelvane {

/// The pictures that a decoder gave last, without a hole between them, so that a seek among them
/// needs no decoding: the decoder stands right behind the newest. They share their memory with the
/// renderer's queue. Used on one queue.
///
///     | oldest ... answered by the last seek ... newest |  <- decoder
class RecentFrames {
  public:
    /// Bounded by bytes. While frames only follow each other, as in playback, fewer are kept than
    /// around a seek, where a step back is likely.
    struct Limits {
        std::size_t bytes = std::size_t{31} << 20;
        std::size_t bytesInPlayback = std::size_t{13} << 20;
        /// After more than this many frames behind a seek's answer playback is taken to go on:
        /// more than a renderer reads ahead while the clock stands.
        std::size_t framesAfterSeek = 7;
    };

    RecentFrames() = default;
    explicit RecentFrames(const Limits& limits) : limits_(limits) {}

    /// Until endSeek(), what comes leads to the answer of a seek.
    void beginSeek();
    void endSeek();
    /// The decoder's next picture. Where its time does not follow on, all before it is forgotten;
    /// so is everything at a picture on a device, since a decoder has few of those.
    void add(const CMSampleBufferRef& frame);
    void clear();

    /// What is seen at `time` and all that follows; empty when that is not known here.
    std::vector<CMSampleBufferRef> from(const CMTime& time) const;
    /// Null when there are none.
    CMSampleBufferRef newest() const { return frames_.empty() ? nullptr : frames_.back(); }
    CMSampleBufferRef oldest() const { return frames_.empty() ? nullptr : frames_.front(); }
    /// How many frames before the answer of a seek are kept: what follows it needs its room too.
    /// As many as there are, before the size of a frame is known.
    std::size_t capacityBefore() const;

  private:
    std::size_t limit() const;
    void dropOldest();

    Limits limits_;
    std::deque<CMSampleBufferRef> frames_;
    std::size_t bytes_ = 0;
    /// Of the frame that came last.
    std::size_t bytesPerFrame_ = 1;
    std::size_t framesSinceSeek_ = 0;
    bool isSeeking_ = false;
};

} // namespace zelvane
