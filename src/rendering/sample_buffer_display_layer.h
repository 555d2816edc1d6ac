// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <thread>

#include "foundation/host_clock.h"
#include "rendering/frame_schedule.h"
#include "rendering/queued_sample_buffer_rendering.h"
#include "rendering/render_synchronizer.h"
#include "rendering/video_presenter.h"

namespace zelvane {

/// Shows decoded frames at their times on one presenter: the queue and the timer between a provider
/// and a surface. Which frame is due is FrameSchedule's to say; this adds the lock, the thread and
/// the clock.
///
/// Every call may come from any thread. The presenter is called on the layer's own thread, without
/// its lock, and always in the order in which the layer decided. Construct it, attach it to the
/// synchronizer, and give it a presenter whenever there is a surface.
///
///   waiting --(frame, flush, new line of time, presenter, timer)--> servicing --> waiting
///   servicing: take the due frame, present it if it changed, prepare the next one, ask for more,
///              set the timer for the next frame's host time less the presenter's delay
class SampleBufferDisplayLayer final : public VideoRendering, public SynchronizedRenderer {
  public:
    enum class Drive {
        /// A thread waits for the next frame's time on the monotonic clock.
        ownThread,
        /// Nothing happens but in service(): for tests with a clock of their own.
        byHand,
    };

    /// What a person who watches would count. Errors are between the moment a frame was shown and
    /// its due time on the clock, in milliseconds, without regard to sign.
    struct Statistics {
        std::uint64_t framesShown = 0;
        /// Never seen: a newer one was due before they were shown or drawn.
        std::uint64_t framesDropped = 0;
        /// Shown later than half their duration.
        std::uint64_t framesLate = 0;
        double meanFrameError = 0;
        double maxFrameError = 0;
        std::optional<HostTime> firstFrameShownAt;
    };

    explicit SampleBufferDisplayLayer(std::shared_ptr<HostClock> clock = HostClock::system(),
                                      Drive drive = Drive::ownThread,
                                      const FrameSchedule::Limits& limits = {});
    ~SampleBufferDisplayLayer() override;
    SampleBufferDisplayLayer(const SampleBufferDisplayLayer&) = delete;
    SampleBufferDisplayLayer& operator=(const SampleBufferDisplayLayer&) = delete;

    void enqueueSampleBuffer(CMSampleBufferRef sampleBuffer) override;
    bool isReadyForMoreMediaData() const override;
    void requestMediaDataWhenReady(std::shared_ptr<dispatch::Queue> queue,
                                   dispatch::Task block) override;
    void stopRequestingMediaData() override;
    void flush() override;
    void flushAndRemoveImage() override;
    void setBounds(const CGRect& bounds) override;
    void setAffineTransform(const CGAffineTransform& transform) override;

    void timelineDidChange(const TimelineAnchor& anchor, Change change) override;

    /// Where to draw from now on; null draws nowhere. The present frame is drawn there at once. An
    /// earlier presenter keeps its picture, and may still be called until this layer's thread comes
    /// by: it is held until then.
    void setPresenter(std::shared_ptr<VideoPresenter> presenter);

    Statistics statistics() const;

    /// Does what is due now. Returns when it wants to be called again if nothing happens before;
    /// HostTime::max() for never. One thread at a time; only with Drive::byHand.
    HostTime service();

  private:
    class Core;
    std::shared_ptr<Core> core_;
    std::thread thread_;
};

} // namespace zelvane
