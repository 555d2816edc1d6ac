// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <deque>
#include <vector>

#include "core_media/cm_sample_buffer.h"

namespace zelvane {

/// The latest pictures of a decoder, without a gap, so that a seek among them needs no decoding.
/// The decoder's position is directly after the newest. The renderer's queue shares their memory.
/// Used on one queue.
///
///     | oldest ... answered by the last seek ... newest |  <- decoder
class RecentFrames {
  public:
    /// In bytes. In playback fewer frames are kept than around a seek, where a step back is likely.
    struct Limits {
        std::size_t bytes = std::size_t{31} << 20;
        std::size_t bytesInPlayback = std::size_t{13} << 20;
        /// More frames than this after a seek's answer mean that playback continues. It is more
        /// than a renderer reads ahead while the clock is stopped.
        std::size_t framesAfterSeek = 7;
    };

    RecentFrames() = default;
    explicit RecentFrames(const Limits& limits) : limits_(limits) {}

    /// Until endSeek(), added frames lead to the answer of a seek.
    void beginSeek();
    void endSeek();
    /// Adds the decoder's next picture. All earlier ones are dropped if its time is not later, and
    /// all are dropped if it is on a device, because a decoder has few of those.
    void add(const CMSampleBufferRef& frame);
    void clear();

    /// The frame shown at `time` and all later ones; empty if that is not known.
    std::vector<CMSampleBufferRef> from(const CMTime& time) const;
    /// Null if there is none.
    CMSampleBufferRef newest() const { return frames_.empty() ? nullptr : frames_.back(); }
    CMSampleBufferRef oldest() const { return frames_.empty() ? nullptr : frames_.front(); }
    /// How many frames before the answer of a seek can be kept beside those that follow it. Not
    /// limited before the size of a frame is known.
    std::size_t capacityBefore() const;

  private:
    std::size_t limit() const;
    void dropOldest();

    Limits limits_;
    std::deque<CMSampleBufferRef> frames_;
    std::size_t bytes_ = 0;
    /// Of the latest frame.
    std::size_t bytesPerFrame_ = 1;
    std::size_t framesSinceSeek_ = 0;
    bool isSeeking_ = false;
};

} // namespace zelvane
