// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <vector>

#include "rendering/audio_output.h"
#include "rendering/audio_render_chain.h"
#include "rendering/audio_statistics.h"
#include "rendering/linear_clock_estimate.h"
#include "rendering/render_synchronizer.h"
#include "rendering/timeline_master.h"

namespace zelvane {

/// Plays the sound of the clock's time on one device, and keeps the clock in step with the device.
/// Used on one queue; no call waits: each service() does what can be done now.
///
///             the clock waits, sound is there           first frame heard: begin()
///     idle ------------------------------------> starting ----------------------> playing
///      |  ^                                                                       |   ^
///      |  '-- clock stops, flush, device lost, nothing to play for a while -------'   |
///      |                                                                              |
///      '--- the clock runs, sound is there ---> joining -- position known ------------'
///
/// Starting: the device is filled and started, and the clock begins when the first frame is heard.
/// Joining: the clock already runs. The device plays silence until the first measurement shows when
/// its next frame will be heard; from that frame on it plays the sound of that time.
class DeviceAudioPlayer {
  public:
    /// The player's access to its owner. Implementations may lock and must not call the player.
    class Source {
      public:
        virtual ~Source() = default;
        virtual std::optional<AudioQueue::Chunk> read(AudioQueue::Cursor& cursor,
                                                      std::int64_t maxFrames) = 0;
        virtual bool hasDataAfter(const CMTime& time) = 0;
        /// Whether a provider is still asked for more sound.
        virtual bool expectsMore() = 0;
        virtual TimelineAnchor anchor() = 0;
        virtual std::shared_ptr<TimelineControl> control() = 0;
        /// The output dropped written sound at the clock's time `time`.
        virtual void soundWasLost(const CMTime& time) = 0;
    };

    /// The current requests of the owner.
    struct Situation {
        /// `startsBy` is set only if the clock waits for this player.
        TimelineRequest request;
        std::uint64_t flushCount = 0;
        AVAudioTimePitchAlgorithm algorithm =
            AVAudioTimePitchAlgorithm::AVAudioTimePitchAlgorithmSpectral;
    };

    DeviceAudioPlayer(AudioOutput& output, Source& source, std::shared_ptr<HostClock> hostClock);

    void service(const std::vector<AudioOutput::Event>& events, const Situation& situation);
    const AudioStatistics& statistics() const { return statistics_; }

  private:
    enum class Phase { idle, starting, joining, playing };

    void handle(AudioOutput::Event event);
    void halt();
    void releaseClock();
    void beginWithoutSound();
    void considerStart();
    void startFilled();
    void considerJoin();
    void join();
    void prepare();
    void placeSound(const CMTime& time, std::int64_t frame);
    void continueStarting();
    void continueJoining();
    void continuePlaying();
    void measure();
    bool fill(bool fillsSilence);
    void refill();
    void writeSilence(std::size_t frames);
    void write(std::size_t frames);
    void steer();
    void steerBy(double clockAhead);
    void noteClockError(double error);
    double framesAhead() const;
    CMTime clockTime() const;
    bool clockRuns() const;
    CMTime mediaTimeOf(double frame) const;

    AudioOutput& output_;
    Source& source_;
    const std::shared_ptr<HostClock> hostClock_;

    Phase phase_ = Phase::idle;
    Situation situation_;
    AudioOutputFormat format_;
    std::unique_ptr<AudioRenderChain> chain_;
    LinearClockEstimate estimate_{1};
    std::optional<HostTime> latestMeasurement_;
    /// The device's frame `lineFrame_` has the media time `lineTime_`.
    CMTime lineTime_;
    double lineFrame_ = 0;
    /// Since the last flush of the output.
    std::int64_t framesWritten_ = 0;
    bool isStarved_ = false;
    std::optional<HostTime> silentSince_;
    HostTime steeredAt_{0};
    std::vector<float> scratch_;
    AudioStatistics statistics_;
};

} // namespace zelvane
