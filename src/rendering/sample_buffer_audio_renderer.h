// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>

#include "foundation/dispatch.h"
#include "foundation/host_clock.h"
#include "rendering/audio_output.h"
#include "rendering/audio_statistics.h"
#include "rendering/queued_sample_buffer_rendering.h"
#include "rendering/render_synchronizer.h"
#include "rendering/timeline_master.h"

namespace zelvane {

/// Plays queued audio on a device, and adjusts the clock that it is attached to so that it follows
/// the device.
///
/// Calls only change state and return; all work is done on the renderer's work queue. Without a
/// device, with a slow one or without sound, the clock runs without the renderer.
class SampleBufferAudioRenderer final : public AudioRendering,
                                        public SynchronizedRenderer,
                                        public TimelineMaster {
  public:
    /// Seconds of sound kept ahead of the clock at rate 1, and more at higher rates.
    static constexpr double kSecondsAhead = 3;
    static constexpr std::size_t kMaximumBytes = std::size_t{64} << 20;

    /// Opens `output`. Device work runs on `workQueue`, by default a serial queue of the renderer.
    explicit SampleBufferAudioRenderer(std::unique_ptr<AudioOutput> output,
                                       std::shared_ptr<HostClock> hostClock = HostClock::system(),
                                       std::shared_ptr<dispatch::Queue> workQueue =
                                           dispatch::makeSerialQueue("Audio Renderer Queue"));
    ~SampleBufferAudioRenderer() override;

    void enqueueSampleBuffer(CMSampleBufferRef sampleBuffer) override;
    bool isReadyForMoreMediaData() const override;
    void requestMediaDataWhenReady(std::shared_ptr<dispatch::Queue> queue,
                                   dispatch::Task block) override;
    void stopRequestingMediaData() override;
    void flush() override;
    /// Takes effect at the next start of the sound.
    void setAudioTimePitchAlgorithm(AVAudioTimePitchAlgorithm algorithm) override;
    void setAllowedAudioSpatializationFormats(std::uint32_t formats) override;
    std::optional<std::string> audioOutputDeviceUniqueID() const override;
    void setAudioOutputDeviceUniqueID(std::optional<std::string> uniqueID) override;
    float volume() const override;
    void setVolume(float volume) override;
    bool isMuted() const override;
    void setMuted(bool isMuted) override;

    void timelineDidChange(const TimelineAnchor& anchor, Change change) override;
    void setTimelineControl(std::weak_ptr<TimelineControl> control) override;
    bool timelineWillChange(const TimelineRequest& request) override;

    AudioStatistics statistics() const;

  private:
    class Core;
    std::shared_ptr<Core> core_;
};

} // namespace zelvane
