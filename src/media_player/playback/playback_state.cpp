// SPDX-License-Identifier: GPL-3.0-or-later
#include "media_player/playback/playback_state.h"

#include <iterator>
#include <utility>

namespace zelvane {
namespace {

void append(PlaybackState::Actions& actions, PlaybackState::Actions more) {
    std::move(more.begin(), more.end(), std::back_inserter(actions));
}

} // namespace

PlaybackState::Actions PlaybackState::play(const Clock& clock) {
    Actions actions;
    if (duration_ > kCMTimeZero) {
        if (!isSeeking() && clock.time >= duration_) {
            append(actions, seek(kCMTimeZero, std::nullopt, clock));
        }
        if (isSeeking()) {
            desiredRateAfterSeeking_ = desiredPlaybackRate_;
        } else {
            actions.emplace_back(SetClockRate{desiredPlaybackRate_});
        }
    }
    actions.emplace_back(ReportRate{});
    return actions;
}

PlaybackState::Actions PlaybackState::pause() {
    Actions actions;
    if (isSeeking()) {
        desiredRateAfterSeeking_ = 0;
    } else {
        actions.emplace_back(SetClockRate{0});
    }
    actions.emplace_back(ReportRate{});
    return actions;
}

PlaybackState::Actions PlaybackState::setDesiredPlaybackRate(float rate, const Clock& clock) {
    desiredPlaybackRate_ = rate;
    return this->rate(clock) > 0 ? play(clock) : Actions{};
}

/// The only moment in which the rate to resume at is taken from the clock: a burst of seeks keeps
/// the rate from before the first.
void PlaybackState::willSeek(const Clock& clock) {
    if (!isSeeking()) {
        desiredRateAfterSeeking_ = clock.rate;
    }
}

PlaybackState::Actions
PlaybackState::seek(const CMTime& target,
                    std::optional<SeekOperation::CompletionHandlerInfo> completion,
                    const Clock& clock) {
    const CMTime clamped = clampedSeekTarget(target, duration_);
    willSeek(clock);
    Actions actions{SetClockRate{0, clamped}};
    nextSeekOperation_ = foldedSeekOperation(std::exchange(nextSeekOperation_, std::nullopt),
                                             clamped, std::move(completion));
    if (!isPerformingSeekOperation_) {
        performNextSeekOperation(actions);
    }
    return actions;
}

void PlaybackState::performNextSeekOperation(Actions& actions) {
    isPerformingSeekOperation_ = true;
    actions.emplace_back(StartSeek{*std::exchange(nextSeekOperation_, std::nullopt)});
}

PlaybackState::Actions PlaybackState::providersDidSeek(const Clock& clock) {
    Actions actions;
    if (nextSeekOperation_) {
        performNextSeekOperation(actions);
        return actions;
    }
    isPerformingSeekOperation_ = false;
    settle(clock, actions);
    return actions;
}

PlaybackState::Actions PlaybackState::beginInteractiveSeeking(const Clock& clock) {
    willSeek(clock);
    isSeekingInteractively_ = true;
    return {SetClockRate{0}};
}

PlaybackState::Actions PlaybackState::endInteractiveSeeking(const Clock& clock) {
    Actions actions;
    if (std::exchange(isSeekingInteractively_, false)) {
        settle(clock, actions);
    }
    return actions;
}

void PlaybackState::settle(const Clock& clock, Actions& actions) const {
    if (isSeeking()) {
        return;
    }
    if (clock.time < duration_) {
        actions.emplace_back(SetClockRate{desiredRateAfterSeeking_});
    } else {
        stopAtEnd(actions);
    }
}

PlaybackState::Actions PlaybackState::clockDidReachEnd() {
    Actions actions;
    // A seek that began meanwhile has moved the clock away from the end.
    if (!isSeeking()) {
        stopAtEnd(actions);
    }
    return actions;
}

void PlaybackState::stopAtEnd(Actions& actions) const {
    actions.emplace_back(SetClockRate{0, duration_});
    actions.emplace_back(ReportRate{});
}

PlaybackState::Actions PlaybackState::clockRateDidChange(float rate) {
    Actions actions;
    if (isSeeking()) {
        desiredRateAfterSeeking_ = rate;
        actions.emplace_back(SetClockRate{0});
    }
    actions.emplace_back(ReportRate{});
    return actions;
}

} // namespace zelvane
