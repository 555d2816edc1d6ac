// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <optional>

#include "core_media/cv_pixel_buffer.h"
#include "foundation/cm_time.h"

namespace zelvane {

/// Decides which frame to show for a deadline, and how many frames to queue. Has no thread and no
/// clock: the inputs are frames and deadlines, the outputs the frame to show and the number of
/// drops.
///
///              add                    advance: something is due
///   awaiting ------> awaiting, queued ------------------------> showing <--+
///      ^                                or the clock is stopped    |       | advance: a newer
///      |                                                           |       | frame is due
///      +------------------------- flush, clear --------------------+-------+
///
/// While the clock runs, the newest frame that is due is shown and older ones are dropped. While it
/// is stopped, only a frame that lasts at the deadline is shown: between a jump of the clock and
/// the flush that follows it, the queue still has frames of the old position. After a flush, a
/// stopped clock shows the first frame at once, whatever its time: it is the result of a seek, and
/// in a drag the clock has already moved on when it arrives.
class FrameSchedule {
  public:
    /// The queue is full when it reaches any of these, but never below `minimumFrames`, so that the
    /// next picture of any size can be decoded while one is shown.
    struct Limits {
        std::size_t frames = 8;
        std::size_t bytes = std::size_t{12} << 20;
        CMTime span{1, 1};
        std::size_t minimumFrames = 2;
    };

    struct Frame {
        CMTime time;
        /// When it is not a positive number, the frame lasts until the next one.
        CMTime duration;
        std::size_t bytes = 0;
        CVPixelBufferRef picture;
        /// Set by add(), unique.
        std::uint64_t id = 0;
    };

    struct Deadline {
        /// The media time at which the chosen frame will be visible.
        CMTime time;
        /// Whether the clock runs.
        bool isRunning = false;
    };

    struct Choice {
        bool shownChanged = false;
        /// Frames that were not shown because a newer one was due.
        std::size_t dropped = 0;
    };

    FrameSchedule() = default;
    explicit FrameSchedule(const Limits& limits) : limits_(limits) {}

    /// Queues a frame by its time, after those of the same time. Ignores a frame without a numeric
    /// time.
    void add(Frame frame);
    Choice advance(const Deadline& deadline);
    /// Empties the queue. The shown frame stays; the next one is the result of a seek.
    void flush();
    /// flush(), and removes the shown frame.
    void clear();

    bool isReadyForMore() const;
    const std::optional<Frame>& shown() const { return shown_; }
    /// The first queued frame; null when there is none.
    const Frame* next() const { return queue_.empty() ? nullptr : &queue_.front(); }
    /// The duration of the shown frame, or else the distance to the next one; invalid when there is
    /// neither.
    CMTime shownDuration() const;

  private:
    Choice advanceRunning(const CMTime& deadline);
    Choice advanceStanding(const CMTime& deadline);
    /// Indices into the queue.
    std::size_t firstAfter(const CMTime& time) const;
    bool lastsAt(std::size_t frame, const CMTime& time) const;
    bool isOvertaken(const Frame& frame, const CMTime& deadline) const;
    void show(std::size_t frame);
    std::size_t dropBefore(std::size_t end);

    Limits limits_;
    /// Sorted by time.
    std::deque<Frame> queue_;
    std::size_t queuedBytes_ = 0;
    std::optional<Frame> shown_;
    bool isAwaiting_ = true;
    std::uint64_t lastID_ = 0;
};

} // namespace zelvane
