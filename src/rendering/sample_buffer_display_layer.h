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

/// Shows decoded frames at their times on a presenter. FrameSchedule decides which frame is due;
/// this class adds the lock, the thread and the clock.
///
/// Any thread may call. The presenter is called on the layer's own thread, without the lock. Attach
/// the layer to a synchronizer, and set a presenter when there is a surface.
///
///   waiting --(frame, flush, new anchor, presenter, timer)--> servicing --> waiting
///   servicing: present the due frame if it changed, prepare the next one, poll the provider, set
///   the
///              timer for the next frame's host time less the presenter's delay
class SampleBufferDisplayLayer final : public VideoRendering, public SynchronizedRenderer {
  public:
    enum class Drive {
        /// A thread of the layer waits for the next frame's time on the monotonic clock.
        ownThread,
        /// The caller calls service(): for tests with their own clock.
        byHand,
    };

    /// Errors are distances, in milliseconds, between the moment at which a frame was shown and its
    /// due time on the clock.
    struct Statistics {
        std::uint64_t framesShown = 0;
        /// Not shown, because a newer one was due before they were drawn.
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
    bool showsPicture() const override;

    /// Sets where frames are drawn; null means nowhere. The current frame is drawn there at once.
    /// The earlier presenter keeps its picture; until the next turn of the layer's thread it is
    /// held and may still be called.
    void setPresenter(std::shared_ptr<VideoPresenter> presenter);

    Statistics statistics() const;

    /// Does what is due now and returns when the next call is due, if nothing changes before;
    /// HostTime::max() for never. One thread at a time, only with Drive::byHand.
    HostTime service();

  private:
    class Core;
    std::shared_ptr<Core> core_;
    std::thread thread_;
};

} // namespace zelvane
