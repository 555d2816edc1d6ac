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
    queue_.insert(firstAfter(frame.time), std::move(frame));
}

FrameSchedule::Choice FrameSchedule::advance(const Deadline& deadline) {
    return deadline.isRunning ? advanceRunning(deadline.time) : advanceStanding(deadline.time);
}

FrameSchedule::Choice FrameSchedule::advanceRunning(const CMTime& deadline) {
    const auto later = firstAfter(deadline);
    if (later == queue_.begin()) {
        return {};
    }
    const auto newest = std::prev(later);
    if (isOvertaken(*newest, deadline)) {
        return {false, dropBefore(later)};
    }
    const auto dropped = dropBefore(newest);
    show(queue_.begin());
    return {true, dropped};
}

FrameSchedule::Choice FrameSchedule::advanceStanding(const CMTime& deadline) {
    const auto later = firstAfter(deadline);
    if (later != queue_.begin() && lastsAt(std::prev(later), deadline) &&
        !isOvertaken(*std::prev(later), deadline)) {
        show(std::prev(later));
        return {true, 0};
    }
    if (isAwaiting_ && !queue_.empty()) {
        show(queue_.begin());
        return {true, 0};
    }
    return {};
}

bool FrameSchedule::isOvertaken(const Frame& frame, const CMTime& deadline) const {
    return !isAwaiting_ && shown_ && shown_->time <= deadline && frame.time < shown_->time;
}

/// Ends count as within, so that a clock pinned at the end of the media keeps the last frame.
bool FrameSchedule::lastsAt(Position frame, const CMTime& time) {
    if (isKnownDuration(frame->duration)) {
        return time <= frame->time + frame->duration;
    }
    return frame->time == time || std::next(frame) != queue_.end();
}

FrameSchedule::Position FrameSchedule::firstAfter(const CMTime& time) {
    return std::upper_bound(
        queue_.begin(), queue_.end(), time,
        [](const CMTime& left, const Frame& right) { return left < right.time; });
}

void FrameSchedule::show(Position frame) {
    queuedBytes_ -= frame->bytes;
    shown_ = std::move(*frame);
    queue_.erase(frame);
    isAwaiting_ = false;
}

std::size_t FrameSchedule::dropBefore(Position end) {
    const auto dropped = static_cast<std::size_t>(std::distance(queue_.begin(), end));
    std::for_each(queue_.begin(), end, [this](const Frame& frame) { queuedBytes_ -= frame.bytes; });
    queue_.erase(queue_.begin(), end);
    return dropped;
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
