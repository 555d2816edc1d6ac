// SPDX-License-Identifier: GPL-3.0-or-later
#include <map>
#include <set>
#include <sstream>

#include <fmt/format.h>
#include <gtest/gtest.h>

#include "media_player/now_playing/now_playing_manager.h"
#include "tests/media_player/playback/playback_fakes.h"

namespace zelvane::test {
namespace {

using Status = RemoteCommandHandlerStatus;

/// The session's services, which remember what they were told.
class FakeSession final : public NowPlayingInfoCenter, public RemoteCommandCenter {
  public:
    void setNowPlayingInfo(const std::optional<NowPlayingInfo>& shown) override { info = shown; }
    void setPlaybackState(NowPlayingPlaybackState shown) override { state = shown; }
    void setEnabled(RemoteCommand command, bool isEnabled) override {
        isEnabled ? void(enabled.insert(command)) : void(enabled.erase(command));
    }
    void setPreferredIntervals(RemoteCommand /*command*/,
                               const std::vector<double>& /*seconds*/) override {}
    TargetToken addTarget(RemoteCommand command, Handler handler) override {
        EXPECT_TRUE(handlers.emplace(command, std::move(handler)).second) << "a second handler";
        return static_cast<TargetToken>(command) + 100;
    }
    void removeTarget(RemoteCommand command, TargetToken token) override {
        EXPECT_EQ(token, static_cast<TargetToken>(command) + 100);
        handlers.erase(command);
    }

    std::optional<NowPlayingInfo> info;
    NowPlayingPlaybackState state = NowPlayingPlaybackState::playing;
    std::set<RemoteCommand> enabled;
    std::map<RemoteCommand, Handler> handlers;
};

/// Players of silent films. Film "a" lasts 10 s, "b" 20 s and so on.
class NowPlayingTest {
  public:
    explicit NowPlayingTest(NowPlayingManager::AfterRestoration afterRestoration =
                                [](const dispatch::Task& handler) { handler(); })
        : manager_(NowPlayingManager::create(session_, session_, std::move(afterRestoration))) {
        main_.settle();
    }

    template <class Block>
    auto onQueueOf(char film, Block block) {
        return players_.at(film)->queue()->sync([&] { return block(*players_.at(film)); });
    }

    /// "a" opens a film, "a>" plays it and "a-" closes it.
    void perform(const std::string& steps) {
        std::istringstream words(steps);
        for (std::string word; words >> word; main_.settle()) {
            if (word.size() == 1) {
                open(word[0]);
            } else if (word[1] == '>') {
                onQueueOf(word[0], [](MediaPlayer& player) { player.play(); });
            } else {
                players_.erase(word[0]);
            }
        }
    }
    /// The presented film, in upper case while it plays; '-' when there is none.
    char presented() const {
        if (!session_->info) {
            EXPECT_EQ(session_->state, NowPlayingPlaybackState::stopped);
            return '-';
        }
        const char film = static_cast<char>('a' - 1 + session_->info->playbackDuration / 10);
        EXPECT_EQ(manager_->currentMediaPlayer(), players_.at(film));
        EXPECT_EQ(session_->info->title, "media.mkv") << "the name of a file without a title";
        EXPECT_EQ(session_->info->mediaType, NowPlayingMediaType::video);
        const bool isPlaying = session_->state == NowPlayingPlaybackState::playing;
        EXPECT_EQ(session_->info->playbackRate, isPlaying ? 1 : 0);
        return static_cast<char>(isPlaying ? std::toupper(film) : film);
    }

    MainQueueScope main_;
    std::shared_ptr<FakeSession> session_ = std::make_shared<FakeSession>();
    std::shared_ptr<NowPlayingManager> manager_;
    std::map<char, std::shared_ptr<MediaPlayer>> players_;

  private:
    void open(char film) {
        const FakeTracks tracks;
        MediaPlayerEnvironment environment{std::make_shared<FakeRenderer>(),
                                           std::make_shared<FakeRenderer>(),
                                           std::make_shared<FakeSynchronizer>()};
        environment.nowPlaying = manager_;
        const auto source = std::make_shared<FakePacketSource>(tracks, "5000k", "", ms(5000),
                                                               CMTime((film - 'a' + 1) * 10, 1));
        makeMediaPlayer(environment, source, {tracks.video, nullptr, nullptr, nullptr},
                        std::nullopt, dispatch::mainQueue(),
                        [&, film](const auto& player) { players_[film] = player; });
        main_.settle();
    }
};

TEST(NowPlayingManager, presentsThePlayerThatWasUsedLast) {
    const std::pair<const char*, char> cases[] = {{"", '-'},
                                                  {"a b", 'b'},
                                                  {"a b a>", 'A'},
                                                  {"a b a> b-", 'A'},
                                                  {"a b c a> c> c-", 'A'},
                                                  {"a b b> b- a-", '-'}};
    for (const auto& [steps, presented] : cases) {
        SCOPED_TRACE(steps);
        NowPlayingTest test;
        test.perform(steps);
        EXPECT_EQ(test.presented(), presented);
        const std::size_t commands = test.session_->info ? kRemoteCommands.size() : 0;
        EXPECT_EQ(test.session_->enabled.size(), commands);
        EXPECT_EQ(test.session_->handlers.size(), commands);
    }
}

/// "rate of desired-rate at seconds, volume" after a command for a player that was muted at 4 s.
std::string resultOf(RemoteCommand command, const RemoteCommandEvent& event, const char* steps) {
    NowPlayingTest test;
    test.perform(steps);
    test.onQueueOf('b', [](MediaPlayer& player) {
        player.seekTo(ms(4000));
        player.setMuted(true);
    });
    test.main_.settle();
    EXPECT_EQ(test.session_->handlers.at(command)(event), Status::success);
    test.main_.settle();
    const NowPlayingInfo& info = *test.session_->info;
    return fmt::format("{} of {} at {:g}, {}",
                       test.onQueueOf('b', [](const auto& player) { return player.rate(); }),
                       info.defaultPlaybackRate, info.elapsedPlaybackTime, info.volume);
}

TEST(NowPlayingManager, actsOnThePresentedPlayer) {
    using enum RemoteCommand;
    const std::tuple<RemoteCommand, RemoteCommandEvent, const char*, const char*> rows[] = {
        {pause, {}, "0 of 1 at 4, 0", "0 of 1 at 4, 0"},
        {play, {}, "1 of 1 at 4, 0", "1 of 1 at 4, 0"},
        {stop, {}, "0 of 1 at 4, 0", "0 of 1 at 4, 0"},
        {togglePlayPause, {}, "1 of 1 at 4, 0", "0 of 1 at 4, 0"},
        {skipBackward, {.interval = 1.5}, "0 of 1 at 2.5, 0", "1 of 1 at 2.5, 0"},
        {skipForward, {.interval = 3}, "0 of 1 at 7, 0", "1 of 1 at 7, 0"},
        {changePlaybackPosition, {.positionTime = 0.25}, "0 of 1 at 0.25, 0", "1 of 1 at 0.25, 0"},
        {changePlaybackRate, {.playbackRate = 1.5F}, "0 of 1.5 at 4, 0", "1.5 of 1.5 at 4, 0"},
        {changeVolume, {.volume = 0.25F}, "0 of 1 at 4, 0.25", "1 of 1 at 4, 0.25"},
    };
    for (const auto& [command, event, paused, playing] : rows) {
        EXPECT_EQ(resultOf(command, event, "a b"), paused) << static_cast<int>(command);
        EXPECT_EQ(resultOf(command, event, "a b b>"), playing) << static_cast<int>(command);
    }
}

TEST(NowPlayingManager, publishesNothingUntilTheWindowsAreRestored) {
    std::vector<dispatch::Task> waiting;
    NowPlayingTest test([&](dispatch::Task handler) { waiting.push_back(std::move(handler)); });
    test.perform("a b a>");
    EXPECT_EQ(test.presented(), '-');
    std::ranges::for_each(std::exchange(waiting, {}), [](const auto& handler) { handler(); });
    test.main_.settle();
    EXPECT_EQ(test.presented(), 'A');
}

TEST(NowPlayingManager, refusesCommandsWithoutAPlayer) {
    NowPlayingTest test;
    test.perform("a");
    const auto handler = test.session_->handlers.at(RemoteCommand::play);
    test.players_.clear();
    EXPECT_EQ(handler({}), Status::noActionableNowPlayingItem);
    test.main_.settle();
    test.manager_ = nullptr;
    EXPECT_EQ(handler({}), Status::noActionableNowPlayingItem);
}

} // namespace
} // namespace zelvane::test
