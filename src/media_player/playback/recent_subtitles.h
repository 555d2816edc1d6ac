// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>

#include "media_player/playback/seek_relevance.h"

namespace zelvane {

/// The frames of one subtitles track that a short seek may have to show again, so that it need not
/// read the file. Bounded by what can still be shown; the owner asks whether that is too much. Used
/// on one queue.
class RecentSubtitles {
  public:
    struct Limits {
        std::size_t frames = 256;
        /// Of pictures; one of 1920×400 takes 3 MB.
        std::size_t bytes = std::size_t{16} << 20;
    };

    RecentSubtitles() = default;
    explicit RecentSubtitles(const Limits& limits) : limits_(limits) {}

    /// In the order of decoding.
    void add(const SubtitlesFrames& frames);
    /// Drops what no seek to `earliest` or later shows: frames that have ended, and frames that a
    /// later one replaces. Bitmap formats do not state an end, and libavcodec makes it 49 days.
    void keepFrom(const CMTime& earliest);
    void clear();

    /// The frames that a seek to `target` shows, as firstRelevantFrame() chooses them.
    SubtitlesFrames shownFrom(const CMTime& target) const;
    bool isOverfull() const { return frames_.size() > limits_.frames || bytes_ > limits_.bytes; }

  private:
    Limits limits_;
    SubtitlesFrames frames_;
    std::size_t bytes_ = 0;
};

} // namespace zelvane
