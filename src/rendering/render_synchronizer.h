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

/// A piece of straight line between media time and the monotonic clock: at `hostTime` the media
/// stands at `time` and moves on by `rate` seconds a second. Before `hostTime` it has not begun and
/// stands at `time`.
struct TimelineAnchor {
    CMTime time = kCMTimeZero;
    HostTime hostTime{0};
    double rate = 0;

    CMTime timeAt(HostTime host) const;
    /// When the media reaches `media`; HostTime::max() when it never does: the line stands still,
    /// or `media` lies behind it.
    HostTime hostTimeOf(const CMTime& media) const;
};

/// What a renderer must be told by the clock that it is attached to.
class SynchronizedRenderer {
  public:
    enum class Change {
        /// Time and rate were set anew: what was planned on the old line is void.
        jumped,
        /// The rate changed and the time goes on from where it stood.
        rate,
        /// The line was adjusted by a little, to what is heard.
        steered,
    };

    virtual ~SynchronizedRenderer() = default;
    /// Called on any thread, one call at a time, in the order of the changes. Must not call back
    /// into the synchronizer.
    virtual void timelineDidChange(const TimelineAnchor& anchor, Change change) = 0;
};

/// The one clock of a player: media time that runs, stands and jumps, for renderers and observers.
/// Every call may come from any thread.
class RenderSynchronizer {
  public:
    /// Opaque; empty once removed.
    using TimeObserverToken = std::shared_ptr<const void>;

    virtual ~RenderSynchronizer() = default;

    /// Attaches a renderer for good and tells it the present anchor.
    virtual void addRenderer(std::shared_ptr<SynchronizedRenderer> renderer) = 0;

    /// The rate last asked for, also in the moment in which the sound is still starting and the
    /// time still stands.
    virtual float rate() const = 0;
    /// Changes the rate; time goes on from where it stands.
    virtual void setRate(float rate) = 0;
    /// Changes rate and time at once: the only way in which time jumps.
    virtual void setRate(float rate, const CMTime& time) = 0;
    virtual CMTime currentTime() const = 0;

    /// Calls `block` with the time on `queue` whenever the time has moved by `interval`, and once
    /// when it jumps or the rate changes. No queue is the main queue.
    virtual TimeObserverToken addPeriodicTimeObserver(const CMTime& interval,
                                                      std::shared_ptr<dispatch::Queue> queue,
                                                      std::function<void(const CMTime&)> block) = 0;
    /// Calls `block` on `queue` each time that running time crosses one of `times`. A jump crosses
    /// nothing.
    virtual TimeObserverToken addBoundaryTimeObserver(std::vector<CMTime> times,
                                                      std::shared_ptr<dispatch::Queue> queue,
                                                      std::function<void()> block) = 0;
    /// No call of its block starts afterwards, but for one that already runs on another thread.
    virtual void removeTimeObserver(const TimeObserverToken& token) = 0;
};

/// Posted, with the RenderSynchronizer as object, on an arbitrary thread after every change of
/// rate, whoever made it.
inline constexpr std::string_view kRenderSynchronizerRateDidChangeNotification =
    "AVSampleBufferRenderSynchronizerRateDidChangeNotification";

} // namespace zelvane
