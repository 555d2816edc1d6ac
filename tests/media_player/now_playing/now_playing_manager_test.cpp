// SPDX-License-Identifier: GPL-3.0-or-later
#include <map>
#include <set>
#include <sstream>

#include <gtest/gtest.h>

#include "media_player/now_playing/now_playing_manager.h"
#include "tests/media_player/playback/playback_fakes.h"
#include "tests/support/case_name.h"

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
    void setPreferredIntervals(RemoteCommand command, const std::vector<double>& seconds) override {
        intervals[command] = seconds;
    }
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
    std::map<RemoteCommand, std::vector<double>> intervals;
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

struct OrderCase {
    const char* name;
    const char* steps;
    char presented;
};

class NowPlayingOrder : public testing::TestWithParam<OrderCase> {};

TEST_P(NowPlayingOrder, presentsThePlayerThatWasUsedLast) {
    NowPlayingTest test;
    test.perform(GetParam().steps);
    EXPECT_EQ(test.presented(), GetParam().presented);
    const std::size_t commands = test.session_->info ? kRemoteCommands.size() : 0;
    EXPECT_EQ(test.session_->enabled.size(), commands);
    EXPECT_EQ(test.session_->handlers.size(), commands);
}

INSTANTIATE_TEST_SUITE_P(
    All, NowPlayingOrder,
    testing::Values(OrderCase{"no player", "", '-'}, OrderCase{"a new player", "a b", 'b'},
                    OrderCase{"a player in the background plays", "a b a>", 'A'},
                    OrderCase{"another player is closed", "a b a> b-", 'A'},
                    OrderCase{"the presented player is closed", "a b c a> c> c-", 'A'},
                    OrderCase{"all are closed", "a b b> b- a-", '-'}),
    caseName);

struct CommandCase {
    const char* name;
    RemoteCommand command;
    RemoteCommandEvent event;
    float rateAfterPause;
    float rateAfterPlay;
    std::int64_t milliseconds = 4000;
    float desiredRate = 1;
    float volume = 0.5F;
};

class NowPlayingCommand : public testing::TestWithParam<CommandCase> {};

TEST_P(NowPlayingCommand, actsOnThePresentedPlayer) {
    const CommandCase& expected = GetParam();
    for (const bool plays : {false, true}) {
        NowPlayingTest test;
        test.perform(plays ? "a b b>" : "a b");
        test.onQueueOf('b', [](MediaPlayer& player) {
            player.seekTo(ms(4000));
            player.setMuted(true);
            player.setVolume(0.5F);
        });
        test.main_.settle();
        EXPECT_EQ(test.session_->handlers.at(expected.command)(expected.event), Status::success);
        test.main_.settle();
        EXPECT_EQ(test.onQueueOf('b', [](const MediaPlayer& player) { return player.rate(); }),
                  plays ? expected.rateAfterPlay : expected.rateAfterPause);
        const auto& info = test.session_->info;
        EXPECT_EQ(std::lround(info->elapsedPlaybackTime * 1000), expected.milliseconds);
        EXPECT_EQ(info->defaultPlaybackRate, expected.desiredRate);
        EXPECT_EQ(test.players_.at('b')->volume(), expected.volume);
        EXPECT_EQ(info->volume, expected.command == RemoteCommand::changeVolume ? 0.25F : 0);
    }
}

INSTANTIATE_TEST_SUITE_P(
    All, NowPlayingCommand,
    testing::Values(
        CommandCase{"pause", RemoteCommand::pause, {}, 0, 0},
        CommandCase{"play", RemoteCommand::play, {}, 1, 1},
        CommandCase{"stop", RemoteCommand::stop, {}, 0, 0},
        CommandCase{"toggle", RemoteCommand::togglePlayPause, {}, 1, 0},
        CommandCase{"skip back", RemoteCommand::skipBackward, {.interval = 1.5}, 0, 1, 2500},
        CommandCase{"skip forward", RemoteCommand::skipForward, {.interval = 3}, 0, 1, 7000},
        CommandCase{
            "position", RemoteCommand::changePlaybackPosition, {.positionTime = 0.25}, 0, 1, 250},
        CommandCase{
            "rate", RemoteCommand::changePlaybackRate, {.playbackRate = 1.5F}, 0, 1.5F, 4000, 1.5F},
        CommandCase{
            "volume", RemoteCommand::changeVolume, {.volume = 0.25F}, 0, 1, 4000, 1, 0.25F}),
    caseName);

TEST(NowPlayingManager, publishesNothingUntilTheWindowsAreRestored) {
    std::vector<dispatch::Task> waiting;
    NowPlayingTest test([&](dispatch::Task handler) { waiting.push_back(std::move(handler)); });
    test.perform("a b a>");
    EXPECT_EQ(test.presented(), '-');
    for (const auto& handler : std::exchange(waiting, {})) {
        handler();
    }
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
