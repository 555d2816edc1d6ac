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

/// A synchronizer and a renderer over the private server, fed by a provider of endless audio.
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
                << "the clock stands at " << synchronizer.currentTime().seconds();
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

    /// Each click that was heard from second `first` to `last` is that of a whole second of media,
    /// at its time; and each of those seconds was heard, but for one at most for each time that the
    /// machine was too busy to make sound.
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

TEST_P(PulseAudioRates, aToneKeepsItsPitch) {
    Player player(server_->address(), [](std::int64_t frame) {
        return static_cast<float>(0.5 *
                                  std::sin(2 * M_PI * 440 * static_cast<double>(frame) / kRate));
    });
    MonitorRecorder recorder(server_->address(), "n1");
    player.synchronizer.setRate(GetParam(), kCMTimeZero);
    player.playTo(CMTime::fromSeconds(1.5 * GetParam(), 1000));
    EXPECT_NEAR(recorder.recording().pitch(), 440, 4.4);
}

INSTANTIATE_TEST_SUITE_P(slowAndFast, PulseAudioRates, testing::Values(0.5F, 1.0F, 2.0F));

TEST_F(PulseAudio, theStreamSaysWhoPlaysAndSleepsWhilePaused) {
    Player player(server_->address(), click);
    player.synchronizer.setRate(1, kCMTimeZero);
    player.playTo(CMTime(1, 2));
    const std::string playing = server_->pactl("list sink-inputs");
    EXPECT_THAT(playing, testing::HasSubstr("application.name = \"Zelvane Player\""));
    EXPECT_THAT(playing, testing::HasSubstr("media.role = \"video\""));
    EXPECT_THAT(playing, testing::HasSubstr("Corked: no"));
    player.synchronizer.setRate(0);
    std::string paused;
    for (int attempt = 0; attempt < 100 && paused.find("Corked: yes") == std::string::npos;
         ++attempt) {
        paused = server_->pactl("list sink-inputs");
    }
    EXPECT_THAT(paused, testing::HasSubstr("Corked: yes"));
}

TEST_F(PulseAudio, theServersSinksAreListed) {
    Player player(server_->address(), click);
    player.synchronizer.setRate(1, kCMTimeZero);
    player.playTo(CMTime(1, 10));
    std::vector<std::string> names;
    for (const auto& device : player.pulse().devices()) {
        names.push_back(device.uniqueID + (device.isDefault ? "*" : ""));
    }
    EXPECT_THAT(names, testing::UnorderedElementsAre("n1*", "n2"));
}

TEST_F(PulseAudio, aServerThatDiesIsToldAndSoundComesBackWithIt) {
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
    // Within a second the server is tried again.
    const auto back = static_cast<int>(player.synchronizer.currentTime().seconds()) + 3;
    player.playTo(CMTime(back, 1) + CMTime(3, 2));
    player.synchronizer.setRate(0);
    expectClicksInTime(player, recorder.recording().clicks(0.1F), back, back + 1);
    EXPECT_EQ(log.count("The sound server has gone"), 1U);
    EXPECT_EQ(flushes.times().size(), 1U) << "the way back loses nothing";
}

TEST_F(PulseAudio, aStreamThatIsMovedIsToldAndSoundsThere) {
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

TEST_F(PulseAudio, aChosenDeviceIsPlayedOn) {
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
    Player player("unix:" + (folder.path() / "nobody").string(), click);
    player.synchronizer.setRate(1, kCMTimeZero);
    const HostTime asked = HostClock::system()->now();
    player.playTo(CMTime(1, 2));
    EXPECT_LT(milliseconds(HostClock::system()->now() - asked), 1000);
    EXPECT_EQ(player.renderer->statistics().underruns, 0U);
}

} // namespace
} // namespace zelvane
