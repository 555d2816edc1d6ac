// SPDX-License-Identifier: GPL-3.0-or-later
//
// A whole player on the real clock: subtitles come and go with it at any rate and after any seek. A
// long run of the random part: ZELVANE_STRESS_SECONDS=60.

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <fstream>
#include <map>
#include <random>
#include <string>
#include <vector>

#include <fmt/format.h>
#include <gmock/gmock.h>

#include "media_player/playback/media_player.h"
#include "player_assembly/player_assembly.h"
#include "rendering/null_video_presenter.h"
#include "tests/media_player/playback/playback_fakes.h"
#include "tests/subtitles_view/subtitles_view_fakes.h"
#include "tests/support/clips.h"

namespace zelvane::test {
namespace {

using Seconds = std::chrono::duration<double>;

/// Passes observers through to the clock and counts those that are installed.
class CountingSynchronizer final : public RenderSynchronizer {
  public:
    explicit CountingSynchronizer(std::shared_ptr<RenderSynchronizer> clock)
        : clock_(std::move(clock)) {}

    void addRenderer(std::shared_ptr<SynchronizedRenderer> renderer) override {
        clock_->addRenderer(std::move(renderer));
    }
    float rate() const override { return clock_->rate(); }
    void setRate(float rate) override { clock_->setRate(rate); }
    void setRate(float rate, const CMTime& time) override { clock_->setRate(rate, time); }
    CMTime currentTime() const override { return clock_->currentTime(); }
    TimeObserverToken addPeriodicTimeObserver(const CMTime& interval,
                                              std::shared_ptr<dispatch::Queue> queue,
                                              std::function<void(const CMTime&)> block) override {
        ++installed_;
        return clock_->addPeriodicTimeObserver(interval, std::move(queue), std::move(block));
    }
    TimeObserverToken addBoundaryTimeObserver(std::vector<CMTime> times,
                                              std::shared_ptr<dispatch::Queue> queue,
                                              std::function<void()> block) override {
        ++installed_;
        return clock_->addBoundaryTimeObserver(std::move(times), std::move(queue),
                                               std::move(block));
    }
    void removeTimeObserver(const TimeObserverToken& token) override {
        --installed_;
        clock_->removeTimeObserver(token);
    }

    int installed() const { return installed_; }

  private:
    const std::shared_ptr<RenderSynchronizer> clock_;
    std::atomic<int> installed_{0};
};

/// Cues of 0.6 s, one a second, each named by its start in milliseconds.
std::string script(int seconds) {
    std::string text;
    const auto stamp = [](int ms) {
        return fmt::format("{:02}:{:02}:{:02},{:03}", ms / 3600000, ms / 60000 % 60, ms / 1000 % 60,
                           ms % 1000);
    };
    for (int second = 0; second < seconds; ++second) {
        const int start = second * 1000 + 200;
        text += fmt::format("{}\n{} --> {}\n{}\n\n", second + 1, stamp(start), stamp(start + 600),
                            start);
    }
    return text;
}

/// A film with that script, embedded.
std::filesystem::path film(const std::string& name, int seconds, const std::string& picture) {
    const auto side = madeText("cues.srt", script(seconds));
    return madeClip(name, {"-f", "lavfi", "-i", picture, "-i", side.string(), "-map", "0", "-map",
                           "1", "-pix_fmt", "yuv420p", "-c:v", "mpeg4", "-g", "25", "-c:s", "srt"});
}

/// What happened to one cue, on the clock.
struct Change {
    std::string cue;
    bool isShown = false;
    double time = 0;
};

/// A player that records when subtitles are shown and removed.
class NotedPlayer final : public SubtitlesSurface {
  public:
    explicit NotedPlayer(const std::filesystem::path& path)
        : source_(MediaSource::open(URL::fromPath(path), std::nullopt, true)) {
        parts_.displayLayer->setPresenter(std::make_shared<NullVideoPresenter>());
        auto environment = playerEnvironment(parts_);
        environment.renderSynchronizer = clock_;
        // No seek that the test did not ask for.
        environment.textStyleUpdateNotifier = nullptr;
        environment.primarySubtitlesRenderer = view_;
        view_->setSurface(this);
        TrackSelection tracks;
        tracks.video = source_->videoTracks().at(0);
        tracks.primarySubtitles = source_->embeddedSubtitlesTracks().at(0);
        makeMediaPlayer(environment, source_, tracks, std::nullopt, dispatch::mainQueue(),
                        [this](const auto& player) { player_ = player; });
        runUntil([this] { return player_ != nullptr; });
    }
    ~NotedPlayer() override {
        view_->setSurface(nullptr);
        const std::weak_ptr<MediaPlayer> player = player_;
        player_ = nullptr;
        runUntil([&] { return player.expired(); });
        view_ = nullptr;
    }
    NotedPlayer(const NotedPlayer&) = delete;
    NotedPlayer& operator=(const NotedPlayer&) = delete;

    static void runUntil(const std::function<bool()>& done) {
        const auto main = std::static_pointer_cast<dispatch::RunLoopQueue>(dispatch::mainQueue());
        EXPECT_TRUE(main->runUntil(done, std::chrono::seconds(30)));
    }

    double now() const { return player_->currentTime().seconds(); }
    /// Runs until the player has settled at the target.
    void seek(const CMTime& target) {
        bool isThere = false;
        player_->seekSynchronouslyTo(target, dispatch::mainQueue(), [&] { isThere = true; });
        runUntil([&] { return isThere; });
    }
    void play(float rate) {
        player_->queue()->sync([&] {
            player_->setDesiredPlaybackRate(rate);
            player_->play();
        });
    }
    void pause() {
        player_->queue()->sync([&] { player_->pause(); });
    }
    /// Lets the clock run until it shows that time.
    void playUntil(double seconds) {
        const auto limit = std::chrono::steady_clock::now() + Seconds(30);
        while (now() < seconds && !testing::Test::HasFailure()) {
            if (std::chrono::steady_clock::now() > limit) {
                FAIL() << "the clock stands at " << now() << " with rate " << clock_->rate();
            }
            // Something wakes the queue often enough.
            const auto main =
                std::static_pointer_cast<dispatch::RunLoopQueue>(dispatch::mainQueue());
            main->runUntil([&] { return now() >= seconds; }, std::chrono::milliseconds(5));
        }
    }
    std::vector<std::string> shown() const {
        std::vector<std::string> names;
        for (const auto& view : view_->subtitleViews()) {
            names.push_back(nameOf(*view));
        }
        return names;
    }
    int observers() const { return clock_->installed(); }

    std::vector<Change> changes_;

  private:
    void didAddSubtitleView(SubtitleView& view) override {
        changes_.push_back({nameOf(view), true, now()});
    }
    void willRemoveSubtitleView(const SubtitleView& view) override {
        changes_.push_back({nameOf(view), false, now()});
    }
    void videoDimensionsDidChange() override {}

    PlayerParts parts_ = makePlayerParts(SoundOutput::none);
    std::shared_ptr<MediaSource> source_;
    std::shared_ptr<CountingSynchronizer> clock_ =
        std::make_shared<CountingSynchronizer>(parts_.renderSynchronizer);
    std::shared_ptr<SubtitlesView> view_ = std::make_shared<SubtitlesView>(
        true, TimeObserverManager(clock_, kCMTimeZero), fakeViews());
    std::shared_ptr<MediaPlayer> player_;
};

class SubtitlesOnTheClock : public testing::Test {
  protected:
    MainQueueScope main_;
};

/// The largest delay of the changes, in seconds of the clock. Expects `count` changes, none early.
double worstDelay(const std::vector<Change>& changes, std::size_t count) {
    EXPECT_EQ(changes.size(), count);
    double worst = 0;
    for (const auto& change : changes) {
        const double start = std::stoi(change.cue) / 1000.0;
        const double delay = change.time - (change.isShown ? start : start + 0.6);
        EXPECT_GE(delay, -0.001) << change.cue;
        worst = std::max(worst, delay);
    }
    return worst;
}

TEST_F(SubtitlesOnTheClock, cuesAreShownAndRemovedWithinAFrameAtAnyRateAndAfterSeeks) {
    constexpr double kFrame = 0.04;
    NotedPlayer player(film("cues-of-a-second.mkv", 20, "color=gray:s=64x36:r=25:d=20"));
    const struct {
        float rate;
        double from;
        double to;
        /// The number of cues shown and removed on the way.
        std::size_t changes;
    } cases[] = {{1, 0, 1, 2}, {2, 5.9, 7.9, 4}, {0.5, 12.1, 12.9, 2}, {2, 2.9, 4.9, 4}};
    for (const auto& given : cases) {
        // A busy machine may be late now and then, but never early.
        double worst = 1;
        for (int attempt = 0; attempt < 4 && worst > kFrame; ++attempt) {
            player.seek(CMTime::fromSeconds(given.from, 1000));
            player.changes_.clear();
            player.play(given.rate);
            player.playUntil(given.to);
            player.pause();
            worst = worstDelay(player.changes_, given.changes);
        }
        EXPECT_LE(worst, kFrame) << given.rate << " from " << given.from;
        RecordProperty(fmt::format("worstDelayAtRate{}", given.rate), std::to_string(worst));
    }
}

TEST_F(SubtitlesOnTheClock, aSeekShowsWhatLastsAtItsTargetAndNothingElse) {
    NotedPlayer player(film("cues-of-a-second.mkv", 20, "color=gray:s=64x36:r=25:d=20"));
    const struct {
        int target;
        std::vector<std::string> shown;
    } cases[] = {{100, {}},          {200, {"200"}}, {799, {"200"}},   {800, {}},
                 {17500, {"17200"}}, {17900, {}},    {3300, {"3200"}}, {3300, {"3200"}}};
    for (const auto& given : cases) {
        player.seek(ms(given.target));
        // A cue that begins with the picture may be the next packet.
        main_.settle();
        EXPECT_EQ(player.shown(), given.shown) << given.target;
    }
}

double residentMegabytes() {
    std::ifstream statm("/proc/self/statm");
    double total = 0;
    double resident = 0;
    statm >> total >> resident;
    return resident * 4096 / (1 << 20);
}

double stressSeconds() {
    const char* seconds = std::getenv("ZELVANE_STRESS_SECONDS"); // NOLINT(concurrency-mt-unsafe)
    return seconds == nullptr ? 2 : std::atof(seconds);
}

TEST_F(SubtitlesOnTheClock, randomSeeksInFourHoursLeakNothing) {
    constexpr int kLength = 4 * 3600;
    NotedPlayer player(
        film("four-hours.mkv", kLength, fmt::format("color=gray:s=16x16:r=1:d={}", kLength)));
    std::mt19937 random(7);
    const auto end = std::chrono::steady_clock::now() + Seconds(stressSeconds());
    double memoryAtFirst = 0;
    int seeks = 0;
    int worstObservers = 0;
    while (std::chrono::steady_clock::now() < end) {
        const int target = std::uniform_int_distribution(0, (kLength - 10) * 1000)(random);
        player.seek(ms(target));
        main_.settle();
        ++seeks;
        const bool isOn = target % 1000 >= 200 && target % 1000 < 800;
        const auto expected = isOn ? std::vector{std::to_string(target / 1000 * 1000 + 200)}
                                   : std::vector<std::string>();
        ASSERT_EQ(player.shown(), expected) << "at " << target;
        worstObservers = std::max(worstObservers, player.observers());
        player.play(2);
        player.playUntil(target / 1000.0 + 0.1);
        player.pause();
        player.changes_.clear();
        constexpr int kWarmUp = 20;
        if (seeks == kWarmUp) {
            memoryAtFirst = residentMegabytes();
        }
    }
    const double growth = residentMegabytes() - memoryAtFirst;
    RecordProperty("seeks", seeks);
    RecordProperty("observers", worstObservers);
    RecordProperty("growthMegabytes", std::to_string(growth));
    EXPECT_GT(seeks, 20);
    EXPECT_LT(worstObservers, 50);
    EXPECT_LT(growth, 8);
}

} // namespace
} // namespace zelvane::test
