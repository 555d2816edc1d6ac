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

/// Keeps one device playing what the clock asks for, and the clock in step with what is heard. One
/// queue touches it; it waits for nothing: each call of service() does what can be done now.
///
///             the clock waits, sound is there           first frame heard: begin()
///     idle ------------------------------------> starting ----------------------> playing
///      |  ^                                                                       |   ^
///      |  '-- stands, flush, device lost, nothing to play for a while ------------'   |
///      |                                                                              |
///      '--- the clock runs, sound is there ---> joining -- position known ------------'
///
/// Starting, the device is filled before it runs and the clock follows it. Joining, the clock runs
/// already: the device plays silence until it is known which of its frames will be heard when, and
/// the sound is placed on the very frame that the clock says.
class DeviceAudioPlayer {
  public:
    /// Where sound comes from and where its owner is told; may lock, must not call back.
    class Source {
      public:
        virtual ~Source() = default;
        virtual std::optional<AudioQueue::Chunk> read(AudioQueue::Cursor& cursor,
                                                      std::int64_t maxFrames) = 0;
        virtual bool hasDataAfter(const CMTime& time) = 0;
        /// Somebody is still asked for more sound.
        virtual bool expectsMore() = 0;
        virtual TimelineAnchor anchor() = 0;
        virtual std::shared_ptr<TimelineControl> control() = 0;
        /// The output dropped sound that was under way when the clock stood at `time`.
        virtual void soundWasLost(const CMTime& time) = 0;
    };

    /// What is asked for at present.
    struct Situation {
        /// `mayWait` here: the clock does wait for this player.
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
    void prepare(const CMTime& time);
    void makeChain();
    void aimLater();
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
    /// The line of the sound under way: frame `lineFrame_` is `lineTime_`.
    CMTime lineTime_;
    double lineFrame_ = 0;
    /// Since the last flush of the output.
    std::int64_t framesWritten_ = 0;
    bool isStarved_ = false;
    std::optional<HostTime> silentSince_;
    HostTime steeredAt_{0};
    HostDuration joinLead_;
    std::vector<float> scratch_;
    AudioStatistics statistics_;
};

} // namespace zelvane
