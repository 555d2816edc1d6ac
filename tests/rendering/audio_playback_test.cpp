// SPDX-License-Identifier: GPL-3.0-or-later
#include <optional>

#include <gtest/gtest.h>

#include "foundation/notification_center.h"
#include "rendering/null_audio_output.h"
#include "rendering/sample_buffer_audio_renderer.h"
#include "rendering/sample_buffer_render_synchronizer.h"
#include "tests/rendering/rendering_fakes.h"

namespace zelvane {
namespace {

using namespace std::chrono_literals;
using test::makeAudioBuffer;
using test::RecordingOutput;

constexpr int kRate = 48000;

/// A clock and a renderer on fake time, on this thread.
class AudioPlayback : public testing::Test {
  protected:
    AudioPlayback() { attach(std::make_unique<RecordingOutput>(time_, record_)); }

    void attach(std::unique_ptr<AudioOutput> output) {
        renderer_ =
            std::make_shared<SampleBufferAudioRenderer>(std::move(output), time_.clock(), work_);
        synchronizer_.addRenderer(renderer_);
        work_->runPending();
    }

    void run(HostDuration duration) {
        work_->runPending();
        time_.advance(duration, [this] { work_->runPending(); });
        work_->runPending();
    }

    /// Queues seconds `from` to `to`, each with a click of one sample at its start.
    void enqueueClicks(int from, int to) {
        for (int second = from; second < to; ++second) {
            renderer_->enqueueSampleBuffer(makeAudioBuffer(
                CMTime(second, 1), kRate, [](auto frame) { return frame == 0 ? 1.0F : 0.0F; }));
        }
    }

    /// The time of the loudest sample of each burst that reaches `level`, 0.1 s or more after the
    /// burst before.
    std::vector<HostTime> clicks(float level = 0.5F) const {
        std::vector<HostTime> found;
        float loudest = 0;
        for (const auto& [at, sample] : record_->heard) {
            if (std::abs(sample) < level) {
                continue;
            }
            if (found.empty() || at - found.back() > 100ms) {
                found.push_back(at);
                loudest = 0;
            }
            if (std::abs(sample) > loudest) {
                loudest = std::abs(sample);
                found.back() = at;
            }
        }
        return found;
    }

    double now() const { return synchronizer_.currentTime().seconds(); }

    test::FakeTime time_;
    std::shared_ptr<RecordingOutput::Record> record_ = std::make_shared<RecordingOutput::Record>();
    std::shared_ptr<dispatch::RunLoopQueue> work_ =
        std::make_shared<dispatch::RunLoopQueue>("work");
    SampleBufferRenderSynchronizer synchronizer_{time_.clock(), time_.makeTimer()};
    std::shared_ptr<SampleBufferAudioRenderer> renderer_;
};

double inMilliseconds(HostDuration duration) {
    return std::chrono::duration<double, std::milli>(duration).count();
}

TEST_F(AudioPlayback, aClickIsHeardWhenTheClockShowsItsTime) {
    enqueueClicks(0, 3);
    std::vector<HostTime> due;
    const auto token = synchronizer_.addBoundaryTimeObserver({CMTime(1, 1), CMTime(2, 1)}, work_,
                                                             [&] { due.push_back(time_.now()); });
    synchronizer_.setRate(1, kCMTimeZero);
    run(2500ms);
    ASSERT_EQ(clicks().size(), 3U);
    ASSERT_EQ(due.size(), 2U);
    EXPECT_NEAR(inMilliseconds(clicks()[1] - due[0]), 0, 0.02);
    EXPECT_NEAR(inMilliseconds(clicks()[2] - due[1]), 0, 0.02);
    EXPECT_EQ(renderer_->statistics().underruns, 0U);
}

TEST_F(AudioPlayback, samplesReachTheDeviceBitExactlyAndWithoutGaps) {
    for (int second = 0; second < 2; ++second) {
        renderer_->enqueueSampleBuffer(makeAudioBuffer(CMTime(second, 1), kRate, [&](auto frame) {
            return static_cast<float>(second * kRate + frame + 1) / 131072.0F;
        }));
    }
    // A start within the first buffer, exact to the sample.
    synchronizer_.setRate(1, CMTime(12345, kRate));
    run(1700ms);
    ASSERT_GT(record_->heard.size(), 80000U);
    for (std::size_t i = 0; i < 80000; ++i) {
        ASSERT_EQ(record_->heard[i].sample, static_cast<float>(12345 + i + 1) / 131072.0F) << i;
    }
}

TEST_F(AudioPlayback, withoutSoundTheClockStartsAtOnce) {
    synchronizer_.setRate(1, CMTime(5, 1));
    run(1s);
    EXPECT_DOUBLE_EQ(now(), 6);
    EXPECT_EQ(record_->starts, 0);
}

TEST_F(AudioPlayback, laterSoundJoinsTheRunningClockOnItsSample) {
    synchronizer_.setRate(1, kCMTimeZero);
    const HostTime zero = time_.now();
    run(500ms);
    enqueueClicks(0, 3);
    run(1700ms);
    ASSERT_EQ(clicks().size(), 2U);
    EXPECT_NEAR(inMilliseconds(clicks()[0] - zero), 1000, 0.03);
    EXPECT_NEAR(inMilliseconds(clicks()[1] - zero), 2000, 0.03);
    EXPECT_NEAR(now(), 2.2, 1e-4);
}

TEST_F(AudioPlayback, theClockFollowsADeviceThatRunsFast) {
    record_->speed = 1.0005;
    enqueueClicks(0, 12);
    synchronizer_.setRate(1, kCMTimeZero);
    double last = 0;
    for (int step = 0; step < 1000; ++step) {
        run(10ms);
        ASSERT_GE(now(), last);
        // Not a visible step: 1 % of 10 ms.
        ASSERT_LE(now() - last, 0.010101 + (step == 0 ? 1 : 0));
        last = now();
    }
    EXPECT_NEAR(now(), (10 - 0.008) * 1.0005, 2e-4);
    EXPECT_LT(renderer_->statistics().maxClockError, 1e-3);
    EXPECT_EQ(renderer_->statistics().joins, 0U);
}

TEST_F(AudioPlayback, aPauseStopsTheDeviceAndPlaybackContinuesFromTheSameSample) {
    enqueueClicks(0, 4);
    synchronizer_.setRate(1, kCMTimeZero);
    run(700ms);
    synchronizer_.setRate(0);
    run(100ms);
    EXPECT_FALSE(record_->isStarted);
    const double paused = now();
    run(5s);
    EXPECT_EQ(now(), paused);
    const HostTime resumed = time_.now();
    synchronizer_.setRate(1);
    run(1s);
    ASSERT_EQ(clicks().size(), 2U);
    EXPECT_NEAR(inMilliseconds(clicks()[1] - resumed), (1 - paused) * 1000 + 8, 0.03);
}

TEST_F(AudioPlayback, aJumpPlaysTheSoundOfTheTarget) {
    enqueueClicks(0, 2);
    synchronizer_.setRate(1, kCMTimeZero);
    run(300ms);
    synchronizer_.setRate(0, CMTime(10, 1));
    renderer_->flush();
    enqueueClicks(10, 13);
    run(50ms);
    synchronizer_.setRate(1);
    const HostTime asked = time_.now();
    run(1500ms);
    ASSERT_EQ(clicks().size(), 3U);
    EXPECT_EQ(clicks()[1] - asked, record_->startDelay);
    EXPECT_NEAR(now(), 11.5 - 0.008, 1e-4);
}

TEST_F(AudioPlayback, anEmptyQueueIsAnUnderrunOnlyWhileAProviderIsRequested) {
    enqueueClicks(0, 1);
    synchronizer_.setRate(1, kCMTimeZero);
    run(2s);
    EXPECT_EQ(renderer_->statistics().underruns, 0U);
    EXPECT_NEAR(now(), 2 - 0.008, 1e-4);

    const auto provider = std::make_shared<dispatch::RunLoopQueue>("provider");
    renderer_->requestMediaDataWhenReady(provider, [] {});
    enqueueClicks(3, 4);
    run(3s);
    EXPECT_EQ(renderer_->statistics().underruns, 1U);
    EXPECT_NEAR(now(), 5 - 0.008, 1e-3);
    run(2s);
    EXPECT_FALSE(record_->isStarted) << "a device with nothing to play is stopped";
}

TEST_F(AudioPlayback, aLostDeviceIsReportedAndTheClockContinues) {
    std::vector<double> flushTimes;
    const auto observer = NotificationCenter::shared().addObserver(
        std::string(kAudioRendererWasFlushedAutomaticallyNotification),
        static_cast<const AudioRendering*>(renderer_.get()), nullptr,
        [&](const Notification& note) {
            const auto& value = note.userInfo.find(kAudioRendererFlushTimeKey)->second;
            flushTimes.push_back(std::any_cast<CMTime>(value).seconds());
        });
    enqueueClicks(0, 8);
    synchronizer_.setRate(1, kCMTimeZero);
    run(1500ms);
    record_->state = AudioOutput::State::unavailable;
    record_->handler(AudioOutput::Event::lost);
    run(1s);
    ASSERT_EQ(flushTimes.size(), 1U);
    EXPECT_NEAR(flushTimes[0], 1.492, 1e-3);
    EXPECT_NEAR(now(), 2.492, 1e-3);

    record_->state = AudioOutput::State::ready;
    record_->handler(AudioOutput::Event::settled);
    run(2s);
    const auto heard = clicks();
    ASSERT_EQ(heard.size(), 4U) << "0, 1, then 3 and 4 after the device came back";
    EXPECT_NEAR(inMilliseconds(heard[2] - heard[1]), 2000, 0.1);
}

struct Start {
    HostDuration deviceDelay;
    bool reportsDelay;
    bool showsPicture;
    HostDuration clockDelay;
};
constexpr auto kWithPicture = SampleBufferRenderSynchronizer::kStartTimeout;
constexpr auto kWithoutPicture = SampleBufferRenderSynchronizer::kSoundOnlyStartTimeout;

class SlowDevice : public AudioPlayback, public testing::WithParamInterface<Start> {};

TEST_P(SlowDevice, theClockWaitsForALimitedTimeAndTheSoundIsInStep) {
    struct Picture : SynchronizedRenderer {
        void timelineDidChange(const TimelineAnchor&, Change) override {}
        bool showsPicture() const override { return true; }
    };
    if (GetParam().showsPicture) {
        synchronizer_.addRenderer(std::make_shared<Picture>());
    }
    record_->startDelay = GetParam().deviceDelay;
    record_->reportsDelay = GetParam().reportsDelay;
    enqueueClicks(0, 12);
    synchronizer_.setRate(1, kCMTimeZero);
    const HostTime zero = time_.now() + GetParam().clockDelay;
    run(GetParam().clockDelay);
    EXPECT_NEAR(now(), 0, 0.0015);
    EXPECT_EQ(synchronizer_.rate(), 1);
    run(1s);
    EXPECT_NEAR(now(), 1, 0.0015);
    run(9s);
    ASSERT_GE(clicks().size(), GetParam().deviceDelay < 1s ? 9U : 4U);
    for (const HostTime click : clicks()) {
        const double seconds = inMilliseconds(click - zero) / 1000;
        EXPECT_NEAR(seconds, std::round(seconds), 0.0015);
    }
}

INSTANTIATE_TEST_SUITE_P(
    starts, SlowDevice,
    testing::Values(Start{8ms, false, true, 8ms}, Start{30ms, false, true, 30ms},
                    Start{300ms, false, true, kWithPicture}, Start{300ms, true, true, 0ms},
                    Start{5s, false, true, kWithPicture}, Start{300ms, true, false, 300ms},
                    Start{5s, false, false, kWithoutPicture}));

TEST_F(AudioPlayback, theProviderIsCalledUntilTheQueueIsFullAndAgainWhenThereIsRoom) {
    const auto provider = std::make_shared<dispatch::RunLoopQueue>("provider");
    int next = 0;
    renderer_->requestMediaDataWhenReady(provider, [&] {
        while (renderer_->isReadyForMoreMediaData()) {
            enqueueClicks(next, next + 1);
            ++next;
        }
    });
    provider->runPending();
    EXPECT_EQ(next, 3);
    synchronizer_.setRate(1, kCMTimeZero);
    for (int step = 0; step < 100; ++step) {
        run(100ms);
        provider->runPending();
    }
    EXPECT_NEAR(next, 10 + SampleBufferAudioRenderer::kSecondsAhead, 1);
    EXPECT_EQ(renderer_->statistics().underruns, 0U);
    renderer_->stopRequestingMediaData();
    const int stopped = next;
    run(5s);
    provider->runPending();
    EXPECT_EQ(next, stopped);
}

class AudioRates : public AudioPlayback, public testing::WithParamInterface<float> {};

TEST_P(AudioRates, clicksAreInStepWithTheClock) {
    const float rate = GetParam();
    for (int second = 0; second < 10; ++second) {
        renderer_->enqueueSampleBuffer(makeAudioBuffer(CMTime(second, 1), kRate, [](auto frame) {
            return frame < 20 ? (frame % 2 == 0 ? 0.8F : -0.8F) : 0.0F;
        }));
    }
    synchronizer_.setRate(rate, CMTime(1, 2));
    const HostTime start = time_.now() + record_->startDelay;
    run(HostDuration(std::llround(8e9 / rate)));
    const auto heard = clicks(0.05F);
    ASSERT_EQ(heard.size(), 8U);
    for (std::size_t i = 0; i < heard.size(); ++i) {
        // The burst is 20 samples long.
        const double due = (static_cast<double>(i) + 0.5 + 10.0 / kRate) / rate * 1000;
        EXPECT_NEAR(inMilliseconds(heard[i] - start), due, 8) << "click " << i;
    }
}

TEST_P(AudioRates, aToneKeepsItsPitch) {
    const float rate = GetParam();
    for (int second = 0; second < 5; ++second) {
        renderer_->enqueueSampleBuffer(makeAudioBuffer(CMTime(second, 1), kRate, [&](auto frame) {
            return static_cast<float>(
                0.5 * std::sin(2 * M_PI * 440 * static_cast<double>(frame) / kRate));
        }));
    }
    synchronizer_.setRate(rate, kCMTimeZero);
    run(HostDuration(std::llround(4e9 / rate)));
    std::vector<double> crossings;
    for (std::size_t i = kRate / 2; i < record_->heard.size(); ++i) {
        const float before = record_->heard[i - 1].sample;
        const float after = record_->heard[i].sample;
        if (before < 0 && after >= 0) {
            crossings.push_back(static_cast<double>(i) - after / (after - before));
        }
    }
    ASSERT_GT(crossings.size(), 300U);
    const double period =
        (crossings.back() - crossings.front()) / static_cast<double>(crossings.size() - 1);
    EXPECT_NEAR(kRate / period, 440, 4.4);
}

INSTANTIATE_TEST_SUITE_P(slowAndFast, AudioRates, testing::Values(0.5F, 1.0F, 1.5F, 2.0F));

TEST_F(AudioPlayback, aChangeOfRateKeepsTheTime) {
    enqueueClicks(0, 6);
    synchronizer_.setRate(1, kCMTimeZero);
    run(1500ms);
    const double changed = now();
    synchronizer_.setRate(2);
    EXPECT_EQ(now(), changed);
    run(508ms);
    EXPECT_NEAR(now(), changed + 1, 1e-3);
}

} // namespace
} // namespace zelvane
