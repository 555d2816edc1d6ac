// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>

#include "rendering/render_synchronizer.h"
#include "rendering/wake_timer.h"

namespace zelvane {

/// The clock: one straight line between media time and the monotonic clock, replaced at every
/// change.
///
///                      setRate(r > 0), a master answers true        begin(), or kStartTimeout
///   standing, running ----------------------------------> waiting ----------------------> running
///   standing, waiting, running --- setRate(r > 0), no master or it answers false -------> running
///   waiting, running  --- setRate(0) ---> standing
///
/// Waiting, the time stands; it lasts as long as a device takes to sound, some tens of
/// milliseconds.
///
/// Must not be destroyed by one of its own timer's calls; observers' blocks, which run on their
/// queues, may hold the last reference.
class SampleBufferRenderSynchronizer final : public RenderSynchronizer {
  public:
    explicit SampleBufferRenderSynchronizer(
        std::shared_ptr<HostClock> hostClock = HostClock::system(),
        std::unique_ptr<WakeTimer> timer = WakeTimer::makeThread());
    ~SampleBufferRenderSynchronizer() override;

    /// How long the clock stands waiting for a master's device before it runs without it. Devices
    /// that wake from sleep, and sinks that have rendered silence ahead, take up to two seconds.
    static constexpr HostDuration kStartTimeout = std::chrono::milliseconds(2500);

    /// Of all renderers, the first that is also a TimelineMaster moves the clock.
    void addRenderer(std::shared_ptr<SynchronizedRenderer> renderer) override;
    float rate() const override;
    /// Rates below zero, and NaN, count as zero: nothing here plays backwards.
    void setRate(float rate) override;
    void setRate(float rate, const CMTime& time) override;
    CMTime currentTime() const override;
    TimeObserverToken addPeriodicTimeObserver(const CMTime& interval,
                                              std::shared_ptr<dispatch::Queue> queue,
                                              std::function<void(const CMTime&)> block) override;
    TimeObserverToken addBoundaryTimeObserver(std::vector<CMTime> times,
                                              std::shared_ptr<dispatch::Queue> queue,
                                              std::function<void()> block) override;
    void removeTimeObserver(const TimeObserverToken& token) override;

  private:
    class Core;
    void announceRate() const;

    std::shared_ptr<Core> core_;
};

} // namespace zelvane
