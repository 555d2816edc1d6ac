// SPDX-License-Identifier: GPL-3.0-or-later
#include "rendering/frame_schedule.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace zelvane {
namespace {

bool isKnownDuration(const CMTime& duration) {
    return duration.isNumeric() && duration > kCMTimeZero;
}

} // namespace

void FrameSchedule::add(Frame frame) {
    if (!frame.time.isNumeric()) {
        return;
    }
    frame.id = ++lastID_;
    queuedBytes_ += frame.bytes;
    const auto place = static_cast<std::ptrdiff_t>(firstAfter(frame.time));
    queue_.insert(queue_.begin() + place, std::move(frame));
}

FrameSchedule::Choice FrameSchedule::advance(const Deadline& deadline) {
    return deadline.isRunning ? advanceRunning(deadline.time) : advanceStanding(deadline.time);
}

FrameSchedule::Choice FrameSchedule::advanceRunning(const CMTime& deadline) {
    const auto later = firstAfter(deadline);
    if (later == 0) {
        return {};
    }
    if (isOvertaken(queue_[later - 1], deadline)) {
        return {false, dropBefore(later)};
    }
    const auto dropped = dropBefore(later - 1);
    show(0);
    return {true, dropped};
}

FrameSchedule::Choice FrameSchedule::advanceStanding(const CMTime& deadline) {
    const auto later = firstAfter(deadline);
    if (later > 0 && lastsAt(later - 1, deadline) && !isOvertaken(queue_[later - 1], deadline)) {
        show(later - 1);
        return {true, 0};
    }
    if (isAwaiting_ && !queue_.empty()) {
        show(0);
        return {true, 0};
    }
    return {};
}

/// Whether a newer frame that is due is already shown.
bool FrameSchedule::isOvertaken(const Frame& frame, const CMTime& deadline) const {
    return !isAwaiting_ && shown_ && shown_->time <= deadline && frame.time < shown_->time;
}

/// The end is included, so that a clock at the end of the media shows the last frame.
bool FrameSchedule::lastsAt(std::size_t frame, const CMTime& time) const {
    const auto& candidate = queue_[frame];
    if (isKnownDuration(candidate.duration)) {
        return time <= candidate.time + candidate.duration;
    }
    return candidate.time == time || frame + 1 < queue_.size();
}

std::size_t FrameSchedule::firstAfter(const CMTime& time) const {
    const auto later =
        std::upper_bound(queue_.begin(), queue_.end(), time,
                         [](const CMTime& left, const Frame& right) { return left < right.time; });
    return static_cast<std::size_t>(std::distance(queue_.begin(), later));
}

void FrameSchedule::show(std::size_t frame) {
    queuedBytes_ -= queue_[frame].bytes;
    shown_ = std::move(queue_[frame]);
    queue_.erase(queue_.begin() + static_cast<std::ptrdiff_t>(frame));
    isAwaiting_ = false;
}

std::size_t FrameSchedule::dropBefore(std::size_t end) {
    const auto last = queue_.begin() + static_cast<std::ptrdiff_t>(end);
    std::for_each(queue_.begin(), last,
                  [this](const Frame& frame) { queuedBytes_ -= frame.bytes; });
    queue_.erase(queue_.begin(), last);
    return end;
}

void FrameSchedule::flush() {
    queue_.clear();
    queuedBytes_ = 0;
    isAwaiting_ = true;
}

void FrameSchedule::clear() {
    flush();
    shown_.reset();
}

bool FrameSchedule::isReadyForMore() const {
    if (queue_.size() < limits_.minimumFrames) {
        return true;
    }
    return queue_.size() < limits_.frames && queuedBytes_ < limits_.bytes &&
           queue_.back().time - queue_.front().time < limits_.span;
}

CMTime FrameSchedule::shownDuration() const {
    if (!shown_) {
        return kCMTimeInvalid;
    }
    if (isKnownDuration(shown_->duration)) {
        return shown_->duration;
    }
    return queue_.empty() ? kCMTimeInvalid : queue_.front().time - shown_->time;
}

} // namespace zelvane
