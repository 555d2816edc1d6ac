// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>
#include <variant>
#include <vector>

#include "foundation/cm_time.h"
#include "media_player/playback/seek_operation.h"

namespace zelvane {

/// Decides the rate of a player's clock and which seek runs. Uses no thread, clock or queue: events
/// go in, actions come out, to be performed in their order. Times are relative to the media's
/// start.
///
///            seek: the clock stops at the target
///     idle ----------------------------------> seeking <--+ a newer target waits: the next seek
///      ^                                        |    |    |
///      |  restart at the rate after seeking,    |    +----+ the providers have finished
///      +----------------------------------------+
///      |  or stop at the end                    |  in an interactive seek
///      |                                        v
///      +------------------------------- dragging, at rest  <-- beginInteractiveSeeking
///         endInteractiveSeeking
///
/// At most one seek runs in the providers, and one waits. A newer one replaces the target of the
/// waiting one and takes over its completions.
class PlaybackState {
  public:
    /// The clock as it is when an event comes.
    struct Clock {
        float rate = 0;
        CMTime time = kCMTimeZero;
    };

    struct SetClockRate {
        float rate = 0;
        /// None: the time continues from its present value.
        std::optional<CMTime> time = std::nullopt;
    };
    /// Start this seek in the providers; providersDidSeek() reports its end.
    struct StartSeek {
        SeekOperation operation;
    };
    /// rate() may have changed.
    struct ReportRate {};
    using Action = std::variant<SetClockRate, StartSeek, ReportRate>;
    using Actions = std::vector<Action>;

    explicit PlaybackState(const CMTime& duration) : duration_(duration) {}

    Actions play(const Clock& clock);
    Actions pause();
    Actions setDesiredPlaybackRate(float rate, const Clock& clock);
    /// Clamps the target to the media.
    Actions seek(const CMTime& target,
                 std::optional<SeekOperation::CompletionHandlerInfo> completion,
                 const Clock& clock);
    Actions providersDidSeek(const Clock& clock);
    Actions beginInteractiveSeeking(const Clock& clock);
    Actions endInteractiveSeeking(const Clock& clock);
    Actions clockDidReachEnd();
    /// Something other than these actions set the clock's rate.
    Actions clockRateDidChange(float rate);

    float desiredPlaybackRate() const { return desiredPlaybackRate_; }
    /// The rate that the user sees, which a seek does not change.
    float rate(const Clock& clock) const {
        return isSeeking() ? desiredRateAfterSeeking_ : clock.rate;
    }
    bool isSeekingInteractively() const { return isSeekingInteractively_; }
    bool isSeeking() const { return isSeekingInteractively_ || isPerformingSeekOperation_; }

  private:
    void willSeek(const Clock& clock);
    void performNextSeekOperation(Actions& actions);
    void settle(const Clock& clock, Actions& actions) const;
    void stopAtEnd(Actions& actions) const;

    const CMTime duration_;
    float desiredPlaybackRate_ = 1;
    float desiredRateAfterSeeking_ = 1;
    bool isSeekingInteractively_ = false;
    bool isPerformingSeekOperation_ = false;
    std::optional<SeekOperation> nextSeekOperation_;
};

} // namespace zelvane
