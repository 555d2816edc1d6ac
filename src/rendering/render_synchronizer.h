// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <memory>
#include <string_view>
#include <vector>

#include "foundation/cm_time.h"
#include "foundation/dispatch.h"
#include "foundation/host_clock.h"

namespace zelvane {

/// A linear relation between media time and the monotonic clock: the media time is `time` at
/// `hostTime` and grows by `rate` seconds per second. Before `hostTime` it is `time`.
struct TimelineAnchor {
    CMTime time = kCMTimeZero;
    HostTime hostTime{0};
    double rate = 0;

    CMTime timeAt(HostTime host) const;
    /// When the media time is `media`; HostTime::max() when it never is, because the rate is 0 or
    /// `media` is before `time`.
    HostTime hostTimeOf(const CMTime& media) const;
};

/// What a clock calls on the renderers that are attached to it.
class SynchronizedRenderer {
  public:
    enum class Change {
        /// Time and rate were set: plans made with the old anchor are invalid.
        jumped,
        /// The rate changed; the time is continuous.
        rate,
        /// The rate was adjusted slightly to the audio device; the time is continuous.
        steered,
    };

    virtual ~SynchronizedRenderer() = default;
    /// Called on any thread, one call at a time, in the order of the changes. Must not call back
    /// into the synchronizer.
    virtual void timelineDidChange(const TimelineAnchor& anchor, Change change) = 0;
    /// Whether a picture is on screen or about to be, so that a wait of the clock is visible. Same
    /// rules as above.
    virtual bool showsPicture() const { return false; }
};

/// The clock of a player: media time for renderers and observers. Any thread.
class RenderSynchronizer {
  public:
    /// Opaque.
    using TimeObserverToken = std::shared_ptr<const void>;

    virtual ~RenderSynchronizer() = default;

    /// Attaches a renderer, for the life of the clock, and passes it the current anchor.
    virtual void addRenderer(std::shared_ptr<SynchronizedRenderer> renderer) = 0;

    /// The rate that was last set, also while the clock waits for the audio device to start.
    virtual float rate() const = 0;
    /// Changes the rate; the time is continuous.
    virtual void setRate(float rate) = 0;
    /// Changes rate and time. The only call that makes the time jump.
    virtual void setRate(float rate, const CMTime& time) = 0;
    virtual CMTime currentTime() const = 0;

    /// Calls `block` with the time on `queue`, each time it has grown by `interval` and at each
    /// jump and change of rate. No queue means the main queue.
    virtual TimeObserverToken addPeriodicTimeObserver(const CMTime& interval,
                                                      std::shared_ptr<dispatch::Queue> queue,
                                                      std::function<void(const CMTime&)> block) = 0;
    /// Calls `block` on `queue` each time that the running clock reaches one of `times`. A jump
    /// past them does not count.
    virtual TimeObserverToken addBoundaryTimeObserver(std::vector<CMTime> times,
                                                      std::shared_ptr<dispatch::Queue> queue,
                                                      std::function<void()> block) = 0;
    /// No call of its block starts afterwards; one may still be running on another thread.
    virtual void removeTimeObserver(const TimeObserverToken& token) = 0;
};

/// Posted, with the RenderSynchronizer as object, after every change of rate: on the thread that
/// made the change, before its setRate() returns.
inline constexpr std::string_view kRenderSynchronizerRateDidChangeNotification =
    "AVSampleBufferRenderSynchronizerRateDidChangeNotification";

} // namespace zelvane
