// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <optional>

#include "core_media/cv_pixel_buffer.h"
#include "foundation/cm_time.h"

namespace zelvane {

/// Decides which frame to show for a deadline, and how many frames to keep waiting. Knows no thread
/// and no clock: frames and deadlines go in, the frame to show and the drops come out.
///
///              add                    advance: something is due
///   awaiting ------> awaiting, queued ------------------------> showing <--+
///      ^                                or the clock stands        |       | advance: a newer
///      |                                                           |       | frame is due
///      +------------------------- flush, clear --------------------+-------+
///
/// Running, the newest frame whose time has come is shown, and those that it overtakes are dropped.
/// Standing, only a frame that lasts at the deadline is shown: between a jump of the clock and the
/// flush that follows it, the queue still holds what belongs to the old position. Awaiting and
/// standing, the first frame is shown at once, wherever it lies: it answers a seek, and while a
/// person drags, the clock is already elsewhere when it comes.
class FrameSchedule {
  public:
    /// Where the queue counts as full; each alone fills it. Below `minimumFrames` it never is, so
    /// that pictures of any size can be decoded while one is shown.
    struct Limits {
        std::size_t frames = 8;
        std::size_t bytes = std::size_t{12} << 20;
        CMTime span{1, 1};
        std::size_t minimumFrames = 2;
    };

    struct Frame {
        CMTime time;
        /// Not numeric or not above zero: the frame lasts until the next one.
        CMTime duration;
        std::size_t bytes = 0;
        CVPixelBufferRef picture;
        /// Given by add(), never twice.
        std::uint64_t id = 0;
    };

    struct Deadline {
        /// Media time at which what is chosen now will be seen.
        CMTime time;
        /// Whether that time moves on.
        bool isRunning = false;
    };

    struct Choice {
        bool shownChanged = false;
        /// Frames that were never shown because a newer one was due.
        std::size_t dropped = 0;
    };

    FrameSchedule() = default;
    explicit FrameSchedule(const Limits& limits) : limits_(limits) {}

    /// Queues a frame by its time, behind those of the same time. One without a numeric time is
    /// not taken.
    void add(Frame frame);
    Choice advance(const Deadline& deadline);
    /// Empties the queue; what is shown stays, and the next frame answers a seek.
    void flush();
    /// flush(), and nothing is shown any more.
    void clear();

    bool isReadyForMore() const;
    const std::optional<Frame>& shown() const { return shown_; }
    /// The frame after the one that is shown; null when none waits.
    const Frame* next() const { return queue_.empty() ? nullptr : &queue_.front(); }
    /// How long the shown frame lasts, by its own word or the next one's time; invalid when neither
    /// tells.
    CMTime shownDuration() const;

  private:
    Choice advanceRunning(const CMTime& deadline);
    Choice advanceStanding(const CMTime& deadline);
    /// Places in the queue.
    std::size_t firstAfter(const CMTime& time) const;
    bool lastsAt(std::size_t frame, const CMTime& time) const;
    bool isOvertaken(const Frame& frame, const CMTime& deadline) const;
    void show(std::size_t frame);
    std::size_t dropBefore(std::size_t end);

    Limits limits_;
    /// By time.
    std::deque<Frame> queue_;
    std::size_t queuedBytes_ = 0;
    std::optional<Frame> shown_;
    bool isAwaiting_ = true;
    std::uint64_t lastID_ = 0;
};

} // namespace zelvane
