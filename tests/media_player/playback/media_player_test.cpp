// SPDX-License-Identifier: GPL-3.0-or-later
#include "media_player/playback/media_player.h"

#include <atomic>
#include <future>
#include <mutex>

#include <gmock/gmock.h>

#include "tests/media_player/playback/playback_fakes.h"
#include "tests/support/log_capture.h"

namespace zelvane::test {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;

constexpr std::int64_t kStart = 5000;
constexpr std::int64_t kDuration = 400;

class FakeSession final : public PowerManagement, public ProcessInfo {
  public:
    OSStatus createDisplayAwakeAssertion(const std::string& reason, AssertionID& id) override {
        return note("awake: " + reason), id = 1, kNoErr;
    }
    OSStatus releaseAssertion(AssertionID /*id*/) override { return note("may sleep"), kNoErr; }
    void disableAutomaticTermination(const std::string& reason) override { note("-" + reason); }
    void enableAutomaticTermination(const std::string& reason) override { note("+" + reason); }

    std::vector<std::string> notes;

  private:
    void note(const std::string& text) { notes.push_back(text); }
};

class FakeRouting final : public NowPlayingRegistry, public AudioRoutingOwnership {
  public:
    void registerMediaPlayer(const std::shared_ptr<MediaPlayer>& /*player*/) override { ++players; }
    void unregisterMediaPlayer(const MediaPlayer& /*player*/) override { --players; }
    void requestOwnership(const std::shared_ptr<dispatch::Queue>& queue,
                          dispatch::Task completion) override {
        ++owners;
        queue->async(std::move(completion));
    }
    void releaseOwnership() override { --owners; }

    std::atomic<int> players{0};
    std::atomic<int> owners{0};
};

class FakeExternalProvider final : public SubtitlesDataProvider {
  public:
    void perform(bool /*cancelling*/, dispatch::Task task) override {
        queue_->async(std::move(task));
    }
    void seek(const CMTime& /*time*/, bool /*shouldProvideData*/,
              const std::shared_ptr<dispatch::Queue>& queue, dispatch::Task completion) override {
        queue->async(std::move(completion));
    }
    void setSubtitlesTrack(const std::shared_ptr<SubtitlesTrack>& track) override {
        tracks.push_back(track);
        onChange(track);
    }
    std::vector<std::shared_ptr<SubtitlesTrack>> tracks;
    /// Called on the provider's queue.
    std::function<void(const std::shared_ptr<SubtitlesTrack>&)> onChange = [](const auto&) {};

  private:
    const std::shared_ptr<dispatch::Queue> queue_ = dispatch::makeSerialQueue("side");
};

class ExternalTrack final : public SubtitlesTrack {
  public:
    ExternalTrack() : SubtitlesTrack("side", {}, std::make_unique<FakeSubtitlesDecoder>()) {}
    bool isExternal() const override { return true; }
};

class FakePictureInPicture final : public PictureInPictureControlling {
  public:
    void invalidatePlaybackState() override {
        EXPECT_TRUE(dispatch::mainQueue()->isCurrent());
        ++invalidations;
    }
    int invalidations = 0;
};

class MediaPlayerTest : public testing::Test {
  protected:
    void
    makePlayer(CMTime duration = ms(kDuration),
               std::string_view visual = "5000k 5040 5080 5120 5160 5200k 5240 5280 5320 5360") {
        source_ = std::make_shared<FakePacketSource>(
            tracks_, visual,
            "5000k 5020k 5040k 5060k 5080k 5100k 5120k 5140k 5160k 5180k 5200k 5220k", ms(kStart),
            duration);
        std::shared_ptr<MediaPlayer> made;
        makeMediaPlayer(environment(), source_, {tracks_.video, tracks_.audio, nullptr, nullptr},
                        std::nullopt, dispatch::mainQueue(),
                        [&](const auto& player) { made = player; });
        main_.settle();
        player_ = std::exchange(made, nullptr);
        ASSERT_NE(player_, nullptr);
        forgetNotifications();
    }

    void TearDown() override {
        player_.reset();
        main_.settle();
    }

    MediaPlayerEnvironment environment() {
        MediaPlayerEnvironment environment;
        environment.makeDisplayLayer = [this] { return ClockedRenderer<VideoRendering>(layer_); };
        environment.makeAudioRenderer = [this] { return ClockedRenderer<AudioRendering>(sound_); };
        environment.makeRenderSynchronizer = [this] { return clock_; };
        environment.makeSubtitlesRenderer = [this](const auto&, const CMTime& startTime,
                                                   SubtitlesPosition position) {
            EXPECT_EQ(startTime, kCMTimeZero);
            return position == SubtitlesPosition::primary ? bottom_ : top_;
        };
        environment.makeExternalSubtitlesDataProvider = [this](const auto&, const auto& view) {
            return view == bottom_ ? bottomProvider_ : topProvider_;
        };
        environment.observeUserSpecifiedTextStyle = [this](std::function<void()> changed) {
            textStyleChanged_ = std::move(changed);
            return std::make_shared<int>(1);
        };
        environment.powerManagement = session_;
        environment.processInfo = session_;
        environment.nowPlaying = routing_;
        environment.audioRouting = routing_;
        environment.workspaceNotificationCenter = workspace_;
        return environment;
    }

    template <class Block>
    auto onQueue(Block block) {
        return player_->queue()->sync(block);
    }
    void play() {
        onQueue([&] { player_->play(); });
        main_.settle();
    }
    float rate() {
        return onQueue([&] { return player_->rate(); });
    }
    std::int64_t position() const { return inMilliseconds(player_->currentTime()); }
    void seek(std::int64_t time) {
        onQueue([&] { player_->seekTo(ms(time)); });
    }
    /// A seek that stays at work until the gate opens.
    void beginHeldSeek(std::int64_t time) {
        source_->closeSeekGate();
        seek(time);
        source_->waitForSeekAtGate();
    }
    void endHeldSeek() {
        source_->openSeekGate();
        main_.settle();
    }

    /// The names of the player's notifications so far, without their common beginning.
    std::vector<std::string> notifications() const {
        const std::lock_guard lock(mutex_);
        return notifications_;
    }
    void forgetNotifications() {
        main_.settle();
        const std::lock_guard lock(mutex_);
        notifications_.clear();
    }
    NotificationObserver observe(std::string_view name) {
        return NotificationCenter::shared().addObserver(
            std::string(name), nullptr, nullptr, [this](const Notification& notification) {
                const std::lock_guard lock(mutex_);
                notifications_.push_back(notification.name.substr(20));
            });
    }

    LogCapture log_;
    MainQueueScope main_;
    FakeTracks tracks_;
    std::shared_ptr<FakeSynchronizer> clock_ = std::make_shared<FakeSynchronizer>();
    std::shared_ptr<FakeRenderer> layer_ = std::make_shared<FakeRenderer>();
    std::shared_ptr<FakeRenderer> sound_ = std::make_shared<FakeRenderer>();
    std::shared_ptr<FakeSubtitlesRenderer> bottom_ = std::make_shared<FakeSubtitlesRenderer>();
    std::shared_ptr<FakeSubtitlesRenderer> top_ = std::make_shared<FakeSubtitlesRenderer>();
    std::shared_ptr<FakeExternalProvider> bottomProvider_ =
        std::make_shared<FakeExternalProvider>();
    std::shared_ptr<FakeExternalProvider> topProvider_ = std::make_shared<FakeExternalProvider>();
    std::shared_ptr<FakeSession> session_ = std::make_shared<FakeSession>();
    std::shared_ptr<FakeRouting> routing_ = std::make_shared<FakeRouting>();
    std::shared_ptr<NotificationCenter> workspace_ = std::make_shared<NotificationCenter>();
    std::function<void()> textStyleChanged_;
    std::shared_ptr<FakePacketSource> source_;
    std::shared_ptr<MediaPlayer> player_;
    mutable std::mutex mutex_;
    std::vector<std::string> notifications_;
    std::array<NotificationObserver, 6> observers_{
        observe(MediaPlayer::kSelectedVideoTrackDidChangeNotification),
        observe(MediaPlayer::kSelectedAudioTrackDidChangeNotification),
        observe(MediaPlayer::kSelectedPrimarySubtitlesTrackDidChangeNotification),
        observe(MediaPlayer::kSelectedSecondarySubtitlesTrackDidChangeNotification),
        observe(MediaPlayer::kRateDidChangeNotification),
        observe(MediaPlayer::kDidSeekNotification)};
};

TEST_F(MediaPlayerTest, beginsPausedAtTheStartWithItsRenderersFilled) {
    makePlayer();
    EXPECT_EQ(rate(), 0);
    EXPECT_EQ(position(), 0);
    EXPECT_EQ(inMilliseconds(clock_->currentTime()), kStart);
    EXPECT_EQ(clock_->rendererCount(), 2U);
    EXPECT_EQ(layer_->queued().front(), kStart);
    EXPECT_EQ(sound_->queued().front(), kStart);
    EXPECT_THAT(sound_->events(), Contains("spectral"));
    EXPECT_THAT(sound_->events(), Contains("spatialization 7").Times(2));
}

TEST_F(MediaPlayerTest, playingTakesTheSessionsClaimsAndPausingGivesThemBack) {
    makePlayer();
    play();
    EXPECT_EQ(clock_->rate(), 1);
    EXPECT_THAT(log_.lines(), Contains(objectIdentifier("MediaPlayer", player_.get()) +
                                       ": Setting synchronizer rate to 1."));
    EXPECT_THAT(log_.lines(), Contains(objectIdentifier("MediaPlayer", player_.get()) +
                                       ": Synchronizer rate did change to 1."));
    play();
    onQueue([&] { player_->pause(); });
    EXPECT_EQ(clock_->rate(), 0);
    EXPECT_THAT(session_->notes, ElementsAre("-Started playing media.",
                                             "awake: Zelvane Player started playing media.",
                                             "+Stopped playing media.", "may sleep"));
}

TEST_F(MediaPlayerTest, theDesiredRateTakesEffectAtOnceOnlyWhilePlaying) {
    makePlayer();
    onQueue([&] { player_->setDesiredPlaybackRate(1.5F); });
    EXPECT_EQ(rate(), 0);
    onQueue([&] { player_->togglePlayPause(); });
    EXPECT_EQ(rate(), 1.5F);
    onQueue([&] { player_->setDesiredPlaybackRate(0.5F); });
    EXPECT_EQ(clock_->rate(), 0.5F);
    onQueue([&] { player_->togglePlayPause(); });
    EXPECT_EQ(rate(), 0);
}

TEST_F(MediaPlayerTest, mediaWithoutADurationDoesNotPlayButTellsSo) {
    makePlayer(kCMTimeZero);
    play();
    EXPECT_EQ(rate(), 0);
    EXPECT_THAT(notifications(), ElementsAre("rateDidChange"));
}

TEST_F(MediaPlayerTest, theEndStopsTheClockExactlyThereAndPlayingBeginsAgain) {
    makePlayer();
    play();
    clock_->runTo(ms(kStart + kDuration + 30));
    main_.settle();
    EXPECT_EQ(rate(), 0);
    EXPECT_EQ(position(), kDuration);
    onQueue([&] { player_->setDesiredPlaybackRate(2); });
    play();
    EXPECT_EQ(clock_->rate(), 2);
    EXPECT_EQ(position(), 0);
    EXPECT_EQ(layer_->queued().front(), kStart);
}

TEST_F(MediaPlayerTest, aCrossedEndThatASeekOvertakesIsForgotten) {
    makePlayer();
    play();
    onQueue([&] {
        clock_->runTo(ms(kStart + kDuration));
        player_->seekTo(ms(80));
    });
    main_.settle();
    EXPECT_EQ(position(), 80);
    EXPECT_EQ(clock_->rate(), 1);
}

struct SeekTarget {
    std::int64_t target;
    std::int64_t position;
    std::vector<std::int64_t> video;
    std::int64_t firstSound;
};

TEST_F(MediaPlayerTest, aSeekEndsWhereItWasAskedTo) {
    makePlayer();
    for (const auto& [target, expected, video, firstSound] : std::initializer_list<SeekTarget>{
             {100, 100, {5080, 5120, 5160, 5200, 5240, 5280, 5320, 5360}, 5100},
             {-10, 0, {5000, 5040, 5080, 5120, 5160, 5200, 5240, 5280, 5320, 5360}, 5000},
             {210, 210, {5200, 5240, 5280, 5320, 5360}, 5200},
             {390, 390, {5360}, 0}}) {
        seek(target);
        EXPECT_EQ(position(), expected);
        main_.settle();
        EXPECT_EQ(position(), expected);
        EXPECT_EQ(layer_->queued(), video);
        EXPECT_EQ(sound_->queued().empty() ? 0 : sound_->queued().front(), firstSound);
        EXPECT_EQ(rate(), 0);
    }
}

TEST_F(MediaPlayerTest, seekPastTheEndFinishesPausedAtTheEnd) {
    makePlayer();
    play();
    seek(kDuration + 1000);
    main_.settle();
    EXPECT_EQ(rate(), 0);
    EXPECT_EQ(position(), kDuration);
    EXPECT_THAT(layer_->queued(), IsEmpty());
}

TEST_F(MediaPlayerTest, aBurstOfSeeksCostsTwoAndCompletesAllInOrder) {
    makePlayer();
    play();
    forgetNotifications();
    const std::size_t seeksBefore = source_->audioSeekTargets().size();
    const auto completions = dispatch::makeSerialQueue("completions");
    std::vector<int> completed;
    source_->closeSeekGate();
    for (int i = 0; i < 10; ++i) {
        onQueue([&, i] {
            player_->seekTo(ms(20 * (i + 1)), completions, [&, i] { completed.push_back(i); });
        });
        EXPECT_EQ(position(), 20 * (i + 1));
        EXPECT_EQ(clock_->rate(), 0);
        EXPECT_EQ(rate(), 1);
    }
    endHeldSeek();
    const auto targets = source_->audioSeekTargets();
    EXPECT_THAT(
        std::vector(targets.begin() + static_cast<std::ptrdiff_t>(seeksBefore), targets.end()),
        ElementsAre(5020, 5200));
    EXPECT_THAT(completed, ElementsAre(0, 1, 2, 3, 4, 5, 6, 7, 8, 9));
    EXPECT_EQ(clock_->rate(), 1);
    EXPECT_THAT(notifications(), Contains("didSeek").Times(2));
}

TEST_F(MediaPlayerTest, whatIsAskedForDuringASeekHoldsAfterIt) {
    makePlayer();
    struct Case {
        bool playsBefore;
        std::function<void()> during;
        float rateAfter;
    };
    for (const auto& each : std::initializer_list<Case>{
             {true, [&] {}, 1},
             {false, [&] {}, 0},
             {true, [&] { player_->pause(); }, 0},
             {false, [&] { player_->play(); }, 1},
             {true, [&] { player_->pause(), player_->play(); }, 1},
             {true, [&] { player_->setDesiredPlaybackRate(2); }, 2},
             {false, [&] { player_->setDesiredPlaybackRate(1); }, 0},
         }) {
        onQueue([&] { each.playsBefore ? player_->play() : player_->pause(); });
        beginHeldSeek(40);
        onQueue(each.during);
        EXPECT_EQ(clock_->rate(), 0);
        endHeldSeek();
        EXPECT_EQ(clock_->rate(), each.rateAfter);
        EXPECT_EQ(rate(), each.rateAfter);
    }
}

TEST_F(MediaPlayerTest, aRateFromOutsideDuringASeekBecomesTheRateToResumeAt) {
    makePlayer();
    beginHeldSeek(40);
    clock_->changeRateFromOutside(0.75F);
    const auto playerQueuePassed = [&] { return onQueue([&] { return player_->rate(); }); };
    EXPECT_EQ(playerQueuePassed(), 0.75F);
    EXPECT_EQ(clock_->rate(), 0);
    endHeldSeek();
    EXPECT_EQ(clock_->rate(), 0.75F);
}

TEST_F(MediaPlayerTest, aRateFromOutsideIsTold) {
    makePlayer();
    play();
    forgetNotifications();
    clock_->changeRateFromOutside(0);
    main_.settle();
    EXPECT_THAT(notifications(), ElementsAre("rateDidChange"));
    EXPECT_EQ(session_->notes.back(), "may sleep");
}

TEST_F(MediaPlayerTest, theEchoesOfSeeksInCloseSuccessionPauseNothing) {
    makePlayer();
    play();
    for (int round = 0; round < 20; ++round) {
        // The clock restarts and stops again before either is announced.
        onQueue([&] {
            player_->seekTo(ms(40));
            clock_->setRate(1);
            player_->seekTo(ms(80));
        });
        main_.settle();
        ASSERT_EQ(clock_->rate(), 1);
    }
}

TEST_F(MediaPlayerTest, aDragHoldsTheClockUntilItEnds) {
    makePlayer();
    play();
    onQueue([&] { player_->beginInteractiveSeeking(); });
    EXPECT_EQ(clock_->rate(), 0);
    EXPECT_EQ(rate(), 1);
    for (const int target : {40, 120}) {
        seek(target);
        main_.settle();
        EXPECT_EQ(position(), target);
        EXPECT_EQ(clock_->rate(), 0);
    }
    onQueue([&] { player_->endInteractiveSeeking(); });
    EXPECT_EQ(clock_->rate(), 1);
}

TEST_F(MediaPlayerTest, aDragThatEndsDuringASeekRestartsTheClockAfterIt) {
    makePlayer();
    play();
    onQueue([&] { player_->beginInteractiveSeeking(); });
    beginHeldSeek(40);
    onQueue([&] { player_->endInteractiveSeeking(); });
    EXPECT_EQ(clock_->rate(), 0);
    endHeldSeek();
    EXPECT_EQ(clock_->rate(), 1);
}

TEST_F(MediaPlayerTest, relativeSeeksBuildOnEachOther) {
    makePlayer();
    beginHeldSeek(100);
    onQueue([&] {
        player_->seekBy(MediaPlayer::Seconds{0.05});
        player_->seekBy(MediaPlayer::Seconds{0.05});
    });
    EXPECT_EQ(position(), 200);
    onQueue([&] { player_->seekBy(MediaPlayer::Frames{-2}); });
    EXPECT_EQ(position(), 120);
    endHeldSeek();
    EXPECT_EQ(position(), 120);
    player_->setSelectedVideoTrack(nullptr);
    onQueue([&] { player_->seekBy(MediaPlayer::Frames{1}); });
    EXPECT_EQ(player_->currentTime(), ms(120) + CMTime(1000, 24000));
}

TEST_F(MediaPlayerTest, aSeekWithoutTracksEndsAtOnce) {
    makePlayer();
    player_->setSelectedVideoTrack(nullptr);
    player_->setSelectedAudioTrack(nullptr);
    const std::size_t seeksBefore = source_->audioSeekTargets().size();
    bool didEnd = false;
    player_->seekSynchronouslyTo(ms(40), dispatch::mainQueue(), [&] { didEnd = true; });
    main_.settle();
    EXPECT_TRUE(didEnd);
    EXPECT_EQ(source_->audioSeekTargets().size(), seeksBefore);
}

TEST_F(MediaPlayerTest, aProviderThatFailsDoesNotHoldTheSeek) {
    makePlayer();
    source_->failsSeeks = true;
    bool didEnd = false;
    player_->seekSynchronouslyTo(ms(40), dispatch::mainQueue(), [&] { didEnd = true; });
    main_.settle();
    EXPECT_TRUE(didEnd);
    EXPECT_EQ(log_.count("Failed to seek visual tracks: "), 1U);
}

TEST_F(MediaPlayerTest, whatTheRendererLostIsBroughtBack) {
    makePlayer();
    seek(100);
    main_.settle();
    const std::string begin = objectIdentifier("MediaPlayer", player_.get()) +
                              ": Audio renderer was flushed automatically from time ";
    const auto flushed = [&](std::map<std::string, std::any, std::less<>> userInfo) {
        sound_->flush();
        NotificationCenter::shared().post(
            {std::string(kAudioRendererWasFlushedAutomaticallyNotification),
             static_cast<const AudioRendering*>(sound_.get()), std::move(userInfo)});
        main_.settle();
        EXPECT_EQ(sound_->queued().front(), 5100);
    };
    const std::string key(kAudioRendererFlushTimeKey);
    flushed({});
    flushed({{key, std::string("soon")}});
    EXPECT_EQ(log_.count(begin + "[nil] sec."), 2U);
    flushed({{key, ms(5100)}});
    EXPECT_EQ(log_.count(begin + "5.1 sec."), 1U);
}

TEST_F(MediaPlayerTest, newSettingsBringWhatIsQueuedAnew) {
    makePlayer();
    textStyleChanged_();
    main_.settle();
    EXPECT_THAT(notifications(), ElementsAre("didSeek"));
    NotificationCenter::shared().post(
        {"zelvane.PlaybackPreferences.audioSpatializationAllowedDidChangeNotification",
         nullptr,
         {}});
    main_.settle();
    EXPECT_THAT(notifications(), ElementsAre("didSeek", "didSeek"));
}

TEST_F(MediaPlayerTest, sleepAndAnotherUsersSessionPause) {
    makePlayer();
    for (const auto name :
         {kWorkspaceWillSleepNotification, kWorkspaceSessionDidResignActiveNotification}) {
        play();
        workspace_->post({std::string(name), nullptr, {}});
        EXPECT_EQ(rate(), 0) << name;
    }
}

TEST_F(MediaPlayerTest, selectingTellsAndBringsTheTrackOnlyWhenItIsNew) {
    makePlayer();
    const int dimensionsBefore = top_->dimensionsCount();
    player_->setSelectedVideoTrack(tracks_.video);
    player_->setSelectedAudioTrack(tracks_.audio);
    player_->setSelectedSubtitlesTrack(SubtitlesPosition::primary, nullptr);
    main_.settle();
    EXPECT_THAT(notifications(), IsEmpty());
    player_->setSelectedAudioTrack(nullptr);
    main_.settle();
    EXPECT_THAT(notifications(), ElementsAre("selectedAudioTrackDidChange"));
    EXPECT_THAT(sound_->queued(), IsEmpty());
    player_->setSelectedAudioTrack(tracks_.audio);
    player_->setSelectedVideoTrack(nullptr);
    player_->setSelectedVideoTrack(tracks_.video);
    main_.settle();
    EXPECT_THAT(notifications(), Contains("didSeek"));
    EXPECT_EQ(sound_->queued().front(), kStart);
    EXPECT_EQ(top_->dimensionsCount(), dimensionsBefore + 1);
}

TEST_F(MediaPlayerTest, aSideFileThatMovesLeavesItsOldPlaceAndIsNotLoaded) {
    makePlayer();
    const auto track = std::make_shared<ExternalTrack>();
    player_->setSelectedSubtitlesTrack(SubtitlesPosition::primary, track);
    main_.settle();
    EXPECT_THAT(bottomProvider_->tracks, ElementsAre(track));
    player_->setSelectedSubtitlesTrack(SubtitlesPosition::secondary, track);
    main_.settle();
    EXPECT_THAT(bottomProvider_->tracks, ElementsAre(track, nullptr));
    EXPECT_THAT(topProvider_->tracks, IsEmpty());
    EXPECT_EQ(player_->selectedSubtitlesTrack(SubtitlesPosition::primary), nullptr);
    EXPECT_EQ(player_->selectedSubtitlesTrack(SubtitlesPosition::secondary), track);
    player_->setSelectedSubtitlesTrack(SubtitlesPosition::secondary, tracks_.secondary);
    main_.settle();
    EXPECT_THAT(topProvider_->tracks, ElementsAre(nullptr));
    EXPECT_THAT(notifications(), Contains("selectedPrimarySubtitlesTrackDidChange").Times(2));
    EXPECT_THAT(notifications(), Contains("selectedSecondarySubtitlesTrackDidChange").Times(2));
}

TEST_F(MediaPlayerTest, whoFeedsAPlaceNextWaitsUntilTheLastHasClearedIt) {
    makePlayer(ms(kDuration), "5000k p5040+300 5040 5080 5120 5160 5200k 5240 5280 5320 5360");
    const auto side = std::make_shared<ExternalTrack>();
    bottomProvider_->onChange = [this](const auto& track) {
        bottom_->removeAllSubtitles();
        if (track) {
            dispatch::mainQueue()->async([this] {
                bottom_->addSubtitlesFrame(
                    std::make_shared<const SubtitlesFrame>(SubtitlesFrame{ms(5020), ms(5300), {}}));
            });
        }
    };
    const auto waitingFor = [](std::promise<void>& gate) {
        return [opened = gate.get_future().share()] { opened.wait(); };
    };
    player_->setSelectedSubtitlesTrack(SubtitlesPosition::primary, tracks_.primary);
    main_.settle();
    ASSERT_THAT(bottom_->shown(), ElementsAre(5040));

    std::promise<void> picturesGate;
    source_->visualTracksQueue()->async(waitingFor(picturesGate));
    seek(0);
    player_->setSelectedSubtitlesTrack(SubtitlesPosition::primary, side);
    picturesGate.set_value();
    main_.settle();
    EXPECT_THAT(bottom_->shown(), ElementsAre(5020));

    std::promise<void> sideGate;
    bottomProvider_->perform(false, waitingFor(sideGate));
    player_->setSelectedSubtitlesTrack(SubtitlesPosition::primary, tracks_.primary);
    sideGate.set_value();
    main_.settle();
    EXPECT_THAT(bottom_->shown(), ElementsAre(5040));
}

TEST_F(MediaPlayerTest, bothPlacesMayChangeFromTwoThreadsAtOnce) {
    makePlayer();
    const auto track = std::make_shared<ExternalTrack>();
    const dispatch::Group group;
    for (const auto position : {SubtitlesPosition::primary, SubtitlesPosition::secondary}) {
        group.enter();
        dispatch::globalQueue(dispatch::QualityOfService::unspecified)->async([&, position, group] {
            for (int i = 0; i < 50; ++i) {
                player_->setSelectedSubtitlesTrack(position, track);
                player_->setSelectedSubtitlesTrack(position, tracks_.primary);
            }
            group.leave();
        });
    }
    main_.settle();
    group.wait();
    EXPECT_EQ(player_->selectedSubtitlesTrack(SubtitlesPosition::primary), tracks_.primary);
    EXPECT_EQ(player_->selectedSubtitlesTrack(SubtitlesPosition::secondary), tracks_.primary);
}

TEST_F(MediaPlayerTest, pictureInPictureFollowsAndLeads) {
    makePlayer();
    const auto controller = std::make_shared<FakePictureInPicture>();
    player_->setPictureInPictureController(controller);
    player_->pictureInPictureControllerSetPlaying(true);
    main_.settle();
    EXPECT_EQ(controller->invalidations, 1);
    EXPECT_FALSE(player_->pictureInPictureControllerIsPlaybackPaused());
    player_->pictureInPictureControllerSetPlaying(false);
    EXPECT_TRUE(player_->pictureInPictureControllerIsPlaybackPaused());
}

TEST_F(MediaPlayerTest, aPlayerMadeAtATimeIsHandedOverOnceItStandsThere) {
    makePlayer();
    std::int64_t positionWhenHandedOver = -1;
    std::vector<std::int64_t> queuedWhenHandedOver;
    makeMediaPlayer(environment(), source_, {tracks_.video, nullptr, nullptr, nullptr}, ms(200),
                    dispatch::mainQueue(), [&](const auto& player) {
                        positionWhenHandedOver = inMilliseconds(player->currentTime());
                        queuedWhenHandedOver = layer_->queued();
                    });
    main_.settle();
    EXPECT_EQ(positionWhenHandedOver, 200);
    ASSERT_THAT(queuedWhenHandedOver, Not(IsEmpty()));
    EXPECT_EQ(queuedWhenHandedOver.front(), 5200);
    EXPECT_EQ(routing_->players, 1);
    EXPECT_EQ(routing_->owners, 1);
}

TEST_F(MediaPlayerTest, aPlayerThatGoesLeavesNothingBehind) {
    makePlayer();
    EXPECT_EQ(routing_->players, 1);
    EXPECT_EQ(routing_->owners, 1);
    beginHeldSeek(40);
    std::weak_ptr<MediaPlayer> gone = player_;
    // The last reference goes on the player's own queue.
    player_->queue()->async([player = std::exchange(player_, nullptr)] {});
    source_->openSeekGate();
    main_.settle();
    EXPECT_TRUE(gone.expired());
    EXPECT_EQ(routing_->players, 0);
    EXPECT_EQ(routing_->owners, 0);
    EXPECT_EQ(clock_->removals(), 1);
    EXPECT_FALSE(layer_->isRequesting());
    EXPECT_FALSE(sound_->isRequesting());
    clock_->changeRateFromOutside(1);
    textStyleChanged_();
    main_.settle();
}

using MediaPlayerDeathTest = MediaPlayerTest;

TEST_F(MediaPlayerDeathTest, aPlayerIsMadeOnTheMainQueueAlone) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_DEATH(MediaPlayer::create(environment(), std::make_shared<FakePacketSource>(
                                                        tracks_, "", "", kCMTimeZero, ms(1))),
                 "made on the main queue");
}

TEST_F(MediaPlayerDeathTest, aNegativeDurationStopsTheProcess) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const auto source = std::make_shared<FakePacketSource>(tracks_, "", "", kCMTimeZero, ms(-1));
    dispatch::mainQueue()->async([&] {
        const auto player = MediaPlayer::create(environment(), source);
        EXPECT_DEATH(player->queue()->sync([&] { player->seekTo(kCMTimeZero); }),
                     "negative duration");
    });
    main_.settle();
}

} // namespace
} // namespace zelvane::test
