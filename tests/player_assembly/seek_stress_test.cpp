// SPDX-License-Identifier: GPL-3.0-or-later
//
// Random operations on a player in quick succession: it settles, closes and releases everything.
// Meant for the sanitizers. A long run: ZELVANE_STRESS_OPERATIONS=10000.

#include <array>
#include <cstdlib>
#include <functional>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "media_player/playback/media_player.h"
#include "player_assembly/player_assembly.h"
#include "rendering/null_video_presenter.h"
#include "tests/support/clips.h"

namespace zelvane::test {
namespace {

constexpr auto kSeekPatience = std::chrono::seconds(60);

int operationCount() {
    const char* count = std::getenv("ZELVANE_STRESS_OPERATIONS"); // NOLINT(concurrency-mt-unsafe)
    return count == nullptr ? 150 : std::atoi(count);
}

/// A clip of ten seconds with two audio tracks.
std::filesystem::path film(const std::string& name, const std::vector<std::string>& codec) {
    std::vector<std::string> arguments{"-f",   "lavfi", "-i",       "testsrc2=s=160x96:r=25:d=10",
                                       "-f",   "lavfi", "-i",       "sine=f=440:d=10",
                                       "-f",   "lavfi", "-i",       "sine=f=880:d=10",
                                       "-map", "0",     "-map",     "1",
                                       "-map", "2",     "-pix_fmt", "yuv420p"};
    arguments.insert(arguments.end(), codec.begin(), codec.end());
    return madeClip(name, arguments);
}

/// A player and random operations on it.
class Stress {
  public:
    Stress(const std::filesystem::path& path, unsigned seed)
        : source_(MediaSource::open(URL::fromPath(path), std::nullopt, true)), random_(seed) {
        parts_.displayLayer->setPresenter(std::make_shared<NullVideoPresenter>());
        makeMediaPlayer(playerEnvironment(parts_), source_, defaultTracks(*source_), std::nullopt,
                        dispatch::mainQueue(), [this](const auto& player) { player_ = player; });
        waitUntil([this] { return player_ != nullptr; });
    }

    void run(int operations) {
        for (int i = 0; i < operations; ++i) {
            doSomething();
            main()->runPending();
            if (number(0, 9) == 0) {
                settle();
            }
        }
    }
    /// Waits until every seek has completed.
    void settle() {
        waitUntil([this] { return pending_ == 0; });
        EXPECT_EQ(pending_, 0) << "seeks that never ended";
    }
    /// Releases the player during a seek.
    void close() {
        const std::weak_ptr<MediaPlayer> player = player_;
        const std::weak_ptr<MediaSource> source = source_;
        seek();
        player_ = nullptr;
        source_ = nullptr;
        parts_ = {};
        waitUntil([&] { return player.expired() && source.expired(); });
        EXPECT_TRUE(player.expired());
        EXPECT_TRUE(source.expired());
    }

  private:
    static std::shared_ptr<dispatch::RunLoopQueue> main() {
        return std::static_pointer_cast<dispatch::RunLoopQueue>(dispatch::mainQueue());
    }
    static void waitUntil(const std::function<bool()>& done) {
        const auto end = std::chrono::steady_clock::now() + kSeekPatience;
        while (!done() && std::chrono::steady_clock::now() < end) {
            main()->runUntil(done, std::chrono::milliseconds(20));
        }
    }
    int number(int from, int to) { return std::uniform_int_distribution(from, to)(random_); }

    void onQueue(const std::function<void(MediaPlayer&)>& action) {
        player_->queue()->sync([&] { action(*player_); });
    }
    void seek() {
        ++pending_;
        const CMTime target(number(-500, 10'500), 1000);
        onQueue([&](MediaPlayer& player) {
            player.seekTo(target, dispatch::mainQueue(), [pending = &pending_] { --*pending; });
        });
    }
    void doSomething() {
        const std::array<std::function<void()>, 10> operations{
            [this] { seek(); },
            [this] { seek(); },
            [this] { seek(); },
            [this] { step(); },
            [this] { drag(); },
            [this] { onQueue([](MediaPlayer& player) { player.play(); }); },
            [this] { onQueue([](MediaPlayer& player) { player.pause(); }); },
            [this] { changeRate(); },
            [this] { changeSound(); },
            [this] { changePicture(); }};
        operations.at(static_cast<std::size_t>(number(0, 9)))();
    }
    void step() {
        const std::int64_t frames = number(-4, 4);
        onQueue([&](MediaPlayer& player) { player.seekBy(MediaPlayer::Frames{frames}); });
    }
    void drag() {
        onQueue([](MediaPlayer& player) { player.beginInteractiveSeeking(); });
        for (int i = number(0, 12); i > 0; --i) {
            seek();
            main()->runPending();
        }
        onQueue([](MediaPlayer& player) { player.endInteractiveSeeking(); });
    }
    void changeRate() {
        const float rate = static_cast<float>(number(1, 8)) / 2;
        onQueue([&](MediaPlayer& player) { player.setDesiredPlaybackRate(rate); });
    }
    void changeSound() {
        const auto& tracks = source_->audioTracks();
        const auto index = static_cast<std::size_t>(number(0, static_cast<int>(tracks.size())));
        player_->setSelectedAudioTrack(index < tracks.size() ? tracks[index] : nullptr);
    }
    void changePicture() {
        player_->setSelectedVideoTrack(
            player_->selectedVideoTrack() ? nullptr : source_->videoTracks().at(0));
    }

    PlayerParts parts_ = makePlayerParts(SoundOutput::none);
    std::shared_ptr<MediaSource> source_;
    std::mt19937 random_;
    std::shared_ptr<MediaPlayer> player_;
    /// Completions run on the main queue, this thread.
    int pending_ = 0;
};

class SeekStress : public testing::Test {
  protected:
    SeekStress() { dispatch::setMainQueue(main_); }
    void TearDown() override {
        main_->runUntil([] { return dispatch::waitForQuiescence(std::chrono::milliseconds(5)); },
                        std::chrono::seconds(5));
        dispatch::setMainQueue(nullptr);
    }

    static void play(const std::filesystem::path& path) {
        constexpr int kPlayers = 3;
        for (unsigned seed = 1; seed <= kPlayers; ++seed) {
            Stress stress(path, seed);
            stress.run(operationCount() / kPlayers);
            stress.settle();
            stress.close();
        }
    }

  private:
    std::shared_ptr<dispatch::RunLoopQueue> main_ = std::make_shared<dispatch::RunLoopQueue>();
};

TEST_F(SeekStress, settlesAndClosesInMatroska) {
    play(film("stress.mkv",
              {"-c:v", "libx264", "-preset", "veryfast", "-g", "50", "-bf", "3", "-c:a", "aac"}));
}

TEST_F(SeekStress, settlesAndClosesInATransportStream) {
    play(film("stress.ts", {"-c:v", "mpeg2video", "-g", "12", "-bf", "2", "-c:a", "mp2"}));
}

TEST_F(SeekStress, settlesAndClosesInQuickTime) {
    play(film("stress.mov", {"-c:v", "libx264", "-preset", "veryfast", "-x264-params",
                             "open-gop=1:keyint=40", "-c:a", "pcm_s16le"}));
}

} // namespace
} // namespace zelvane::test
