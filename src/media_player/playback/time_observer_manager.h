// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <memory>
#include <vector>

#include "foundation/atomic.h"
#include "rendering/render_synchronizer.h"

namespace zelvane {

/// Calls closures at media times, which are given and reported relative to a start time. A value:
/// copies use the same clock. Any thread. The caller removes what it adds: an observer belongs to
/// the clock, and neither a seek nor the destruction of the Observer removes it.
class TimeObserverManager {
  public:
    /// One closure on the clock. Opaque to its owner.
    class Observer {
      private:
        friend class TimeObserverManager;
        /// Empty once removed or fired.
        Atomic<RenderSynchronizer::TimeObserverToken> underlyingObserver_;
    };
    using ObserverRef = std::shared_ptr<Observer>;

    TimeObserverManager(std::shared_ptr<RenderSynchronizer> renderSynchronizer,
                        const CMTime& startTime);

    /// Calls `block` with the relative time whenever the clock has moved by `interval`, and after a
    /// jump. A null queue means the main queue.
    [[nodiscard]] ObserverRef
    addPeriodicTimeObserver(const CMTime& interval, std::shared_ptr<dispatch::Queue> queue,
                            std::function<void(const CMTime&)> block) const;

    /// Calls `block` each time that the running clock crosses one of `times`; a jump crosses
    /// nothing.
    [[nodiscard]] ObserverRef addBoundaryTimeObserver(std::vector<CMTime> times,
                                                      std::shared_ptr<dispatch::Queue> queue,
                                                      std::function<void()> block) const;

    /// Calls `block` once: when the clock crosses `time`, or at once if `time` is in the past. Must
    /// not be called by a task of `queue` if that is a serial queue: the block waits on it until
    /// this has returned.
    [[nodiscard]] ObserverRef
    addOneShotBoundaryTimeObserver(const CMTime& time,
                                   const std::shared_ptr<dispatch::Queue>& queue,
                                   std::function<void()> block) const;

    /// Returns whether the observer was still installed.
    bool removeTimeObserver(Observer& observer) const;

  private:
    std::shared_ptr<RenderSynchronizer> renderSynchronizer_;
    CMTime startTime_;
};

} // namespace zelvane
