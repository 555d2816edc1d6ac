// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>

#include "rendering/render_synchronizer.h"
#include "rendering/wake_timer.h"

namespace zelvane {

/// The clock: a TimelineAnchor that every change replaces.
///
///                      setRate(r > 0), a master answers true        begin(), or a timeout
///   stopped, running ----------------------------------> waiting ----------------------> running
///   stopped, waiting, running --- setRate(r > 0), no master or it answers false -------> running
///   waiting, running  --- setRate(0) ---> stopped
///
/// While it waits for the audio device, the time does not change.
///
/// Must not be destroyed on the thread of its timer. Blocks of observers run on their queues and
/// may hold the last reference.
class SampleBufferRenderSynchronizer final : public RenderSynchronizer {
  public:
    explicit SampleBufferRenderSynchronizer(
        std::shared_ptr<HostClock> hostClock = HostClock::system(),
        std::unique_ptr<WakeTimer> timer = WakeTimer::makeThread());
    ~SampleBufferRenderSynchronizer() override;

    /// How long the clock waits for a master's device. A running device takes about 10 ms. A device
    /// that wakes from sleep, a sink that has rendered silence ahead and a wireless sink take up to
    /// two seconds: with a picture on screen the clock starts without them and the sound joins;
    /// without a picture it waits, so that no sound is lost.
    static constexpr HostDuration kStartTimeout = std::chrono::milliseconds(40);
    static constexpr HostDuration kSoundOnlyStartTimeout = std::chrono::milliseconds(2500);

    /// The first renderer that is also a TimelineMaster moves the clock.
    void addRenderer(std::shared_ptr<SynchronizedRenderer> renderer) override;
    float rate() const override;
    /// Negative rates and NaN count as 0.
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
