// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/pulse_audio/pulse_audio_output.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <condition_variable>
#include <map>
#include <mutex>
#include <set>

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "foundation/notification_center.h"
#include "rendering/fallback_audio_output.h"
#include "rendering/null_audio_output.h"
#include "rendering/sample_buffer_audio_renderer.h"
#include "rendering/sample_buffer_render_synchronizer.h"
#include "tests/platform/pulse_audio/monitor_recorder.h"
#include "tests/platform/pulse_audio/private_sound_server.h"
#include "tests/rendering/rendering_fakes.h"
#include "tests/support/anchor_log.h"
#include "tests/support/log_capture.h"

namespace zelvane {
namespace {

using namespace std::chrono_literals;
using test::MonitorRecorder;
using test::PrivateSoundServer;

constexpr int kRate = 48000;

double milliseconds(HostDuration duration) {
    return std::chrono::duration<double, std::milli>(duration).count();
}

/// A burst of 20 samples, too short to have a pitch.
float click(std::int64_t frame) {
    return frame < 20 ? (frame % 2 == 0 ? 0.8F : -0.8F) : 0.0F;
}

float tone(std::int64_t frame) {
    return static_cast<float>(0.5 * std::sin(2 * M_PI * 440 * static_cast<double>(frame) / kRate));
}

/// A synchronizer and a renderer on the private server, with a provider of endless audio.
class Player {
  public:
    Player(const std::string& server, std::function<float(std::int64_t)> sample)
        : sample_(std::move(sample)) {
        auto pulse = std::make_unique<PulseAudioOutput>(server);
        pulse_ = pulse.get();
        renderer =
            std::make_shared<SampleBufferAudioRenderer>(std::make_unique<FallbackAudioOutput>(
                std::move(pulse), std::make_unique<NullAudioOutput>()));
        synchronizer.addRenderer(anchors);
        synchronizer.addRenderer(renderer);
        renderer->requestMediaDataWhenReady(provider_, [this] {
            while (renderer->isReadyForMoreMediaData()) {
                renderer->enqueueSampleBuffer(
                    test::makeAudioBuffer(CMTime(next_++, 1), kRate, sample_));
            }
        });
        provider_->sync([] {});
    }
    ~Player() {
        provider_->sync([this] { renderer->stopRequestingMediaData(); });
    }
    Player(const Player&) = delete;
    Player& operator=(const Player&) = delete;

    /// Waits until the clock has run to `time`.
    void playTo(const CMTime& time) {
        std::mutex mutex;
        std::condition_variable reached;
        bool isReached = synchronizer.currentTime() >= time;
        const auto queue = dispatch::makeSerialQueue("end");
        const auto token = synchronizer.addBoundaryTimeObserver({time}, queue, [&] {
            const std::lock_guard lock(mutex);
            isReached = true;
            reached.notify_one();
        });
        {
            std::unique_lock lock(mutex);
            EXPECT_TRUE(reached.wait_for(lock, 30s, [&] { return isReached; }))
                << "the clock is at " << synchronizer.currentTime().seconds();
        }
        synchronizer.removeTimeObserver(token);
        queue->sync([] {});
    }

    const PulseAudioOutput& pulse() const { return *pulse_; }

    SampleBufferRenderSynchronizer synchronizer;
    std::shared_ptr<test::AnchorLog> anchors = std::make_shared<test::AnchorLog>();
    std::shared_ptr<SampleBufferAudioRenderer> renderer;

  private:
    std::function<float(std::int64_t)> sample_;
    PulseAudioOutput* pulse_ = nullptr;
    std::shared_ptr<dispatch::SerialQueue> provider_ = dispatch::makeSerialQueue("provider");
    std::int64_t next_ = 0;
};

/// Counts automatic flushes of a renderer and lets a test wait for one.
class FlushCounter {
  public:
    explicit FlushCounter(const SampleBufferAudioRenderer& renderer)
        : observer_(NotificationCenter::shared().addObserver(
              std::string(kAudioRendererWasFlushedAutomaticallyNotification),
              static_cast<const AudioRendering*>(&renderer), nullptr,
              [this](const Notification& notification) {
                  const std::lock_guard lock(mutex_);
                  times_.push_back(std::any_cast<CMTime>(
                      notification.userInfo.find(kAudioRendererFlushTimeKey)->second));
                  changed_.notify_all();
              })) {}

    bool waitForOne() {
        std::unique_lock lock(mutex_);
        return changed_.wait_for(lock, 10s, [this] { return !times_.empty(); });
    }
    std::vector<CMTime> times() {
        const std::lock_guard lock(mutex_);
        return times_;
    }

  private:
    std::mutex mutex_;
    std::condition_variable changed_;
    std::vector<CMTime> times_;
    NotificationObserver observer_;
};

class PulseAudio : public testing::Test {
  protected:
    void SetUp() override {
        if (!PrivateSoundServer::isAvailable()) {
            GTEST_SKIP() << "SKIPPED: pulseaudio or pactl is not installed";
        }
        server_ = std::make_unique<PrivateSoundServer>();
    }

    /// Each click from second `first` to `last` is heard at the time of a whole second of media,
    /// and each of those seconds is heard, except for one for each underrun.
    static void expectClicksInTime(const Player& player, const std::vector<HostTime>& clicks,
                                   int first, int last) {
        std::map<int, HostTime> due;
        for (int second = first; second <= last; ++second) {
            const CMTime middle = CMTime(second, 1) + CMTime(10, kRate);
            if (const auto time = player.anchors->dueTime(middle)) {
                due.emplace(second, *time);
            }
        }
        ASSERT_FALSE(due.empty());
        std::set<int> heard;
        double worst = 0;
        for (const HostTime click : clicks) {
            if (click < due.begin()->second - 200ms || click > due.rbegin()->second + 200ms) {
                continue;
            }
            const auto late = [click](const auto& entry) {
                return std::abs(milliseconds(click - entry.second));
            };
            const auto nearest =
                std::min_element(due.begin(), due.end(),
                                 [&](const auto& a, const auto& b) { return late(a) < late(b); });
            heard.insert(nearest->first);
            worst = std::max(worst, late(*nearest));
        }
        const auto underruns = player.renderer->statistics().underruns;
        const auto wanted = static_cast<std::size_t>(last - first) + 1;
        EXPECT_LE(worst, 20);
        EXPECT_GE(heard.size(), 1U);
        EXPECT_GE(heard.size() + underruns, wanted);
        fmt::print("{} clicks of {}, the worst {:.3f} ms from its time, {} underruns\n",
                   heard.size(), wanted, worst, underruns);
    }

    /// Waits until the server lists a stream with `text`.
    bool isListed(const std::string& text) const {
        for (int attempt = 0; attempt < 500; ++attempt) {
            if (server_->pactl("list sink-inputs").find(text) != std::string::npos) {
                return true;
            }
        }
        return false;
    }

    std::unique_ptr<PrivateSoundServer> server_;
};

class PulseAudioRates : public PulseAudio, public testing::WithParamInterface<float> {};

TEST_P(PulseAudioRates, clicksAreHeardWhenTheClockShowsTheirTime) {
    const float rate = GetParam();
    MonitorRecorder recorder(server_->address(), "n1");
    Player player(server_->address(), click);
    player.synchronizer.setRate(rate, CMTime(1, 2));
    const int last = rate > 1 ? 7 : rate < 1 ? 3 : 5;
    player.playTo(CMTime(last, 1) + CMTime(3, 4));
    player.synchronizer.setRate(0);
    expectClicksInTime(player, recorder.recording().clicks(0.1F), 1, last);
    const auto statistics = player.renderer->statistics();
    EXPECT_LT(statistics.meanClockError, 0.005);
    fmt::print("clock error: mean {:.3f} ms, max {:.3f} ms, {} underruns\n",
               statistics.meanClockError * 1e3, statistics.maxClockError * 1e3,
               statistics.underruns);
}

INSTANTIATE_TEST_SUITE_P(slowAndFast, PulseAudioRates, testing::Values(0.5F, 1.0F, 2.0F));

TEST_F(PulseAudio, theStreamHasPropertiesAndIsCorkedWhilePaused) {
    Player player(server_->address(), click);
    player.synchronizer.setRate(1, kCMTimeZero);
    player.playTo(CMTime(1, 2));
    const std::string playing = server_->pactl("list sink-inputs");
    for (const char* property :
         {"application.name = \"Zelvane Player\"", "media.role = \"video\"", "Corked: no"}) {
        EXPECT_THAT(playing, testing::HasSubstr(property));
    }
    std::vector<std::string> sinks;
    for (const auto& device : player.pulse().devices()) {
        sinks.push_back(device.uniqueID + (device.isDefault ? "*" : ""));
    }
    EXPECT_THAT(sinks, testing::UnorderedElementsAre("n1*", "n2"));
    player.synchronizer.setRate(0);
    EXPECT_TRUE(isListed("Corked: yes"));
}

TEST_F(PulseAudio, aLostServerIsReportedAndSoundReturnsWithIt) {
    const test::LogCapture log;
    Player player(server_->address(), click);
    FlushCounter flushes(*player.renderer);
    player.synchronizer.setRate(1, CMTime(1, 2));
    player.playTo(CMTime(3, 2));
    server_->kill();
    ASSERT_TRUE(flushes.waitForOne());
    EXPECT_NEAR(flushes.times()[0].seconds(), 1.5, 0.5);
    const CMTime atLoss = player.synchronizer.currentTime();
    player.playTo(atLoss + CMTime(1, 2));
    EXPECT_EQ(player.synchronizer.rate(), 1);

    server_->start();
    MonitorRecorder recorder(server_->address(), "n1");
    // Connecting is retried every second.
    const auto back = static_cast<int>(player.synchronizer.currentTime().seconds()) + 3;
    player.playTo(CMTime(back, 1) + CMTime(3, 2));
    player.synchronizer.setRate(0);
    expectClicksInTime(player, recorder.recording().clicks(0.1F), back, back + 1);
    EXPECT_EQ(log.count("Lost the connection to the sound server"), 1U);
    EXPECT_EQ(flushes.times().size(), 1U) << "the return loses nothing";
}

TEST_F(PulseAudio, aMovedStreamIsReportedAndPlaysOnTheNewSink) {
    Player player(server_->address(), click);
    FlushCounter flushes(*player.renderer);
    MonitorRecorder recorder(server_->address(), "n2");
    player.synchronizer.setRate(1, CMTime(1, 2));
    player.playTo(CMTime(1, 1));
    const std::string inputs = server_->pactl("list short sink-inputs");
    server_->pactl("move-sink-input " + inputs.substr(0, inputs.find('\t')) + " n2");
    ASSERT_TRUE(flushes.waitForOne());
    const auto from = static_cast<int>(player.synchronizer.currentTime().seconds()) + 2;
    player.playTo(CMTime(from, 1) + CMTime(3, 2));
    player.synchronizer.setRate(0);
    expectClicksInTime(player, recorder.recording().clicks(0.1F), from, from + 1);
}

/// The loudest sample that a sink plays in a quarter of a second; negative when too little was
/// recorded.
float peakOf(Player& player, const std::string& server) {
    MonitorRecorder recorder(server, "n1");
    player.playTo(player.synchronizer.currentTime() + CMTime(3, 4));
    const auto samples = recorder.recording().samples;
    if (samples.size() < std::size_t{kRate} / 2) {
        return -1;
    }
    const auto end = samples.begin() + kRate / 2;
    return std::abs(*std::max_element(end - kRate / 4, end, [](float left, float right) {
        return std::abs(left) < std::abs(right);
    }));
}

/// Plays until the sink has this peak: on a busy machine sound begins late.
testing::AssertionResult reachesPeak(Player& player, const std::string& server, float expected) {
    constexpr int kMostAttempts = 20;
    constexpr float kTolerance = 0.002F;
    float peak = -1;
    for (int attempt = 0; attempt < kMostAttempts; ++attempt) {
        peak = peakOf(player, server);
        if (std::abs(peak - expected) <= kTolerance) {
            return testing::AssertionSuccess();
        }
    }
    return testing::AssertionFailure() << "the last peak is " << peak;
}

TEST_F(PulseAudio, theVolumeIsThatOfTheStreamAndAppliesToLaterStreams) {
    // 0.5 on the server's cubic scale is a gain of 1/8.
    constexpr float kQuiet = 0.5F * 0.125F;
    Player player(server_->address(), tone);
    player.renderer->setVolume(0.5F);
    player.synchronizer.setRate(1, kCMTimeZero);
    EXPECT_TRUE(reachesPeak(player, server_->address(), kQuiet));
    player.synchronizer.setRate(1, CMTime(10, 1));
    EXPECT_TRUE(reachesPeak(player, server_->address(), kQuiet));
    player.renderer->setMuted(true);
    EXPECT_TRUE(reachesPeak(player, server_->address(), 0));
    server_->kill();
    player.renderer->setMuted(false);
    server_->start();
    EXPECT_TRUE(reachesPeak(player, server_->address(), kQuiet));
    EXPECT_EQ(player.renderer->volume(), 0.5F);
}

TEST_F(PulseAudio, aVolumeChangedByAnotherProgramIsReportedAndKept) {
    Player player(server_->address(), tone);
    std::mutex mutex;
    std::condition_variable changed;
    std::atomic<int> changes = 0;
    const auto observer = NotificationCenter::shared().addObserver(
        std::string(kAudioRendererVolumeDidChangeNotification),
        static_cast<const AudioRendering*>(player.renderer.get()), nullptr,
        [&](const Notification&) {
            const std::lock_guard lock(mutex);
            ++changes;
            changed.notify_one();
        });
    // The volume changes before the notification arrives, so both are waited for.
    const auto waitFor = [&](int count, float volume, bool isMuted) {
        std::unique_lock lock(mutex);
        return changed.wait_for(lock, 10s, [&] {
            return changes == count && player.renderer->volume() == volume &&
                   player.renderer->isMuted() == isMuted;
        });
    };
    player.synchronizer.setRate(1, kCMTimeZero);
    player.playTo(CMTime(1, 4));
    const std::string inputs = server_->pactl("list short sink-inputs");
    const std::string input = inputs.substr(0, inputs.find('\t'));
    server_->pactl("set-sink-input-volume " + input + " 50% 25%");
    EXPECT_TRUE(waitFor(1, 0.5F, false)) << changes << " " << player.renderer->volume();
    player.renderer->setVolume(1);
    EXPECT_TRUE(waitFor(2, 1, false)) << changes << " " << player.renderer->volume();
    EXPECT_TRUE(isListed("50% / -18.06 dB")) << "the balance stays";
    server_->pactl("set-sink-input-volume " + input + " 150%");
    server_->pactl("set-sink-input-mute " + input + " 1");
    EXPECT_TRUE(waitFor(3, 1, true)) << changes << " " << player.renderer->volume();
    player.renderer->setVolume(2);
    EXPECT_EQ(player.renderer->volume(), 1);
    // A stream made later starts with what another program set.
    server_->kill();
    server_->start();
    EXPECT_TRUE(isListed("Mute: yes"));
    EXPECT_EQ(changes, 3) << "a level above 1 and a new stream change nothing";
}

TEST_F(PulseAudio, theChosenDevicePlays) {
    Player player(server_->address(), click);
    player.renderer->setAudioOutputDeviceUniqueID("n2");
    EXPECT_EQ(player.renderer->audioOutputDeviceUniqueID(), "n2");
    MonitorRecorder recorder(server_->address(), "n2");
    player.synchronizer.setRate(1, CMTime(1, 2));
    player.playTo(CMTime(7, 2));
    player.synchronizer.setRate(0);
    expectClicksInTime(player, recorder.recording().clicks(0.1F), 2, 3);
}

TEST(PulseAudioAbsent, withoutAServerTheClockRunsAtOnce) {
    const test::TemporaryFolder folder;
    Player player("unix:" + (folder.path() / "absent").string(), click);
    player.synchronizer.setRate(1, kCMTimeZero);
    const HostTime asked = HostClock::system()->now();
    player.playTo(CMTime(1, 2));
    EXPECT_LT(milliseconds(HostClock::system()->now() - asked), 1000);
    EXPECT_EQ(player.renderer->statistics().underruns, 0U);
}

} // namespace
} // namespace zelvane
