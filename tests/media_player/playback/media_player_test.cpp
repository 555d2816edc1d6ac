// SPDX-License-Identifier: GPL-3.0-or-later
#include "media_player/playback/media_player.h"

#include <atomic>
#include <future>
#include <mutex>
#include <thread>

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

/// A side file of one line.
struct Side {
    FakeTracks tracks;
    std::shared_ptr<FakePacketSource> source =
        std::make_shared<FakePacketSource>(tracks, "p20+300", "", kCMTimeZero, ms(400));
    std::shared_ptr<ExternalSubtitlesTrack> track =
        std::make_shared<ExternalSubtitlesTrack>(source, tracks.primary);
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
        observers_ = player_->observeNotifications(nullptr, [this](const auto& notification) {
            const std::lock_guard lock(mutex_);
            notifications_.push_back(notification.name.substr(20));
        });
    }

    void TearDown() override {
        player_.reset();
        main_.settle();
    }

    MediaPlayerEnvironment environment() {
        return {layer_,   sound_,   clock_,   bottom_,  top_,      textStyles_,
                session_, session_, routing_, routing_, workspace_};
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
    /// Starts a seek that lasts until the gate opens.
    void beginHeldSeek(std::int64_t time) {
        source_->closeSeekGate();
        seek(time);
        source_->waitForSeekAtGate();
    }
    void endHeldSeek() {
        source_->openSeekGate();
        main_.settle();
    }

    /// The names of the player's notifications so far, without their common prefix.
    std::vector<std::string> notifications() const {
        const std::lock_guard lock(mutex_);
        return notifications_;
    }
    void forgetNotifications() {
        main_.settle();
        const std::lock_guard lock(mutex_);
        notifications_.clear();
    }
    LogCapture log_;
    MainQueueScope main_;
    FakeTracks tracks_;
    std::shared_ptr<FakeSynchronizer> clock_ = std::make_shared<FakeSynchronizer>();
    std::shared_ptr<FakeRenderer> layer_ = std::make_shared<FakeRenderer>();
    std::shared_ptr<FakeRenderer> sound_ = std::make_shared<FakeRenderer>();
    std::shared_ptr<FakeSubtitlesRenderer> bottom_ = std::make_shared<FakeSubtitlesRenderer>();
    std::shared_ptr<FakeSubtitlesRenderer> top_ = std::make_shared<FakeSubtitlesRenderer>();
    std::shared_ptr<FakeSession> session_ = std::make_shared<FakeSession>();
    std::shared_ptr<FakeRouting> routing_ = std::make_shared<FakeRouting>();
    std::shared_ptr<NotificationCenter> workspace_ = std::make_shared<NotificationCenter>();
    UserDefaults defaults_;
    NotificationCenter textStyleCenter_;
    CaptionAppearance appearance_{defaults_, textStyleCenter_};
    std::shared_ptr<SubtitleTextStyleManager> textStyle_ =
        SubtitleTextStyleManager::create(appearance_, defaults_, textStyleCenter_);
    std::shared_ptr<SubtitleTextStyleUpdateNotifier> textStyles_ =
        SubtitleTextStyleUpdateNotifier::create(*textStyle_, textStyleCenter_);
    std::shared_ptr<FakePacketSource> source_;
    std::shared_ptr<MediaPlayer> player_;
    mutable std::mutex mutex_;
    std::vector<std::string> notifications_;
    std::vector<NotificationObserver> observers_;
};

TEST_F(MediaPlayerTest, startsPausedWithFilledRenderers) {
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

TEST_F(MediaPlayerTest, playingAcquiresAssertionsAndPausingReleasesThem) {
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

TEST_F(MediaPlayerTest, stopsExactlyAtTheEndAndPlaysAgainFromTheStart) {
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

struct SeekTarget {
    std::int64_t target;
    std::int64_t position;
    std::vector<std::int64_t> video;
    std::int64_t firstSound;
};

TEST_F(MediaPlayerTest, aSeekSetsTheClockAndTheFirstFrames) {
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

TEST_F(MediaPlayerTest, aBurstOfSeeksRunsTwoAndCompletesAllInOrder) {
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

TEST_F(MediaPlayerTest, aRateThatSomethingElseSetsIsReported) {
    makePlayer();
    // The clock has this rate already and announces nothing.
    onQueue([&] { player_->pause(); });
    clock_->setRate(1);
    main_.settle();
    EXPECT_EQ(session_->notes.back(), "awake: Zelvane Player started playing media.");
    forgetNotifications();
    clock_->setRate(0);
    main_.settle();
    EXPECT_THAT(notifications(), ElementsAre("rateDidChange"));
    EXPECT_EQ(session_->notes.back(), "may sleep");
}

TEST_F(MediaPlayerTest, aRateThatSomethingElseSetsDuringASeekIsTheRateAfterIt) {
    makePlayer();
    for (const float last : {0.75F, 0.0F}) {
        play();
        beginHeldSeek(40);
        onQueue([&] {
            std::thread([&] {
                clock_->setRate(0.5F);
                clock_->setRate(last);
            }).join();
        });
        EXPECT_EQ(rate(), last);
        EXPECT_EQ(clock_->rate(), 0);
        endHeldSeek();
        EXPECT_EQ(clock_->rate(), last);
    }
}

TEST_F(MediaPlayerTest, aDragHoldsTheClockUntilItEnds) {
    makePlayer();
    play();
    onQueue([&] { player_->beginInteractiveSeeking(); });
    EXPECT_TRUE(onQueue([&] { return player_->isSeekingInteractively(); }));
    seek(40);
    main_.settle();
    EXPECT_EQ(position(), 40);
    EXPECT_EQ(clock_->rate(), 0);
    EXPECT_EQ(rate(), 1);
    onQueue([&] { player_->endInteractiveSeeking(); });
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

TEST_F(MediaPlayerTest, aSeekCompletesThoughItFailsOrHasNoTracks) {
    makePlayer();
    const auto completes = [&] {
        bool wasOnMain = false;
        player_->seekSynchronouslyTo(ms(40), nullptr,
                                     [&] { wasOnMain = dispatch::mainQueue()->isCurrent(); });
        main_.settle();
        return wasOnMain;
    };
    source_->failsSeeks = true;
    EXPECT_TRUE(completes());
    EXPECT_EQ(log_.count("Failed to seek visual tracks: "), 1U);
    player_->setSelectedVideoTrack(nullptr);
    player_->setSelectedAudioTrack(nullptr);
    const std::size_t seeksBefore = source_->audioSeekTargets().size();
    EXPECT_TRUE(completes());
    EXPECT_EQ(source_->audioSeekTargets().size(), seeksBefore);
}

TEST_F(MediaPlayerTest, anAutomaticFlushRefillsTheRenderers) {
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

TEST_F(MediaPlayerTest, theVolumeIsThatOfTheRenderer) {
    makePlayer();
    player_->setVolume(0.25F);
    player_->setMuted(true);
    EXPECT_EQ(sound_->volume(), 0.25F);
    EXPECT_TRUE(sound_->isMuted());
    sound_->setVolume(0.5F);
    sound_->setMuted(false);
    NotificationCenter::shared().post({std::string(kAudioRendererVolumeDidChangeNotification),
                                       static_cast<const AudioRendering*>(sound_.get()),
                                       {}});
    main_.settle();
    EXPECT_EQ(player_->volume(), 0.5F);
    EXPECT_FALSE(player_->isMuted());
    EXPECT_THAT(notifications(), ElementsAre("volumeDidChange"));
}

TEST_F(MediaPlayerTest, newSettingsSeekToTheCurrentTime) {
    makePlayer();
    defaults_.set(kUseUserSpecifiedSubtitleTextStyleKey, true);
    textStyle_->useOfUserSpecifiedStyleDidChange();
    main_.settle();
    EXPECT_THAT(notifications(), ElementsAre("didSeek"));
    NotificationCenter::shared().post(
        {"zelvane.PlaybackPreferences.audioSpatializationAllowedDidChangeNotification",
         nullptr,
         {}});
    main_.settle();
    EXPECT_THAT(notifications(), ElementsAre("didSeek", "didSeek"));
}

TEST_F(MediaPlayerTest, pausesForSleepAndForAnotherUsersSession) {
    makePlayer();
    for (const auto name :
         {kWorkspaceWillSleepNotification, kWorkspaceSessionDidResignActiveNotification}) {
        play();
        workspace_->post({std::string(name), nullptr, {}});
        EXPECT_EQ(rate(), 0) << name;
    }
}

TEST_F(MediaPlayerTest, onlyANewSelectionIsPostedAndFillsTheRenderer) {
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

TEST_F(MediaPlayerTest, aSideFileThatMovesLeavesItsOldPositionAndIsLoadedWhenItIsSelectedAgain) {
    makePlayer();
    const Side side;
    std::atomic<int> takenOver{0};
    const auto select = [&](SubtitlesPosition position, const auto& track) {
        player_->setSelectedSubtitlesTrack(position, track, [&] { ++takenOver; });
        main_.settle();
    };
    select(SubtitlesPosition::primary, side.track);
    EXPECT_THAT(bottom_->shown(), ElementsAre(5020));
    EXPECT_EQ(takenOver, 1);
    select(SubtitlesPosition::secondary, side.track);
    EXPECT_THAT(bottom_->shown(), IsEmpty());
    EXPECT_THAT(top_->shown(), IsEmpty());
    EXPECT_EQ(player_->selectedSubtitlesTrack(SubtitlesPosition::primary), nullptr);
    EXPECT_EQ(player_->selectedSubtitlesTrack(SubtitlesPosition::secondary), side.track);
    select(SubtitlesPosition::secondary, tracks_.secondary);
    EXPECT_EQ(takenOver, 1);
    select(SubtitlesPosition::secondary, side.track);
    EXPECT_THAT(top_->shown(), ElementsAre(5020));
    EXPECT_EQ(takenOver, 2);
    EXPECT_THAT(notifications(), Contains("selectedPrimarySubtitlesTrackDidChange").Times(2));
    EXPECT_THAT(notifications(), Contains("selectedSecondarySubtitlesTrackDidChange").Times(3));
}

TEST_F(MediaPlayerTest, theNextProviderOfAPositionWaitsUntilTheLastHasClearedIt) {
    makePlayer(ms(kDuration), "5000k p5040+300 5040 5080 5120 5160 5200k 5240 5280 5320 5360");
    const Side side;
    const auto selectWhileReading = [&](FakePacketSource& source, const auto& track) {
        std::promise<void> gate;
        source.visualTracksQueue()->async([opened = gate.get_future().share()] { opened.wait(); });
        seek(0);
        player_->setSelectedSubtitlesTrack(SubtitlesPosition::primary, track);
        gate.set_value();
        main_.settle();
        return bottom_->shown();
    };
    EXPECT_THAT(selectWhileReading(*source_, tracks_.primary), ElementsAre(5040));
    EXPECT_THAT(selectWhileReading(*source_, side.track), ElementsAre(5020));
    EXPECT_THAT(selectWhileReading(*side.source, tracks_.primary), ElementsAre(5040));
}

TEST_F(MediaPlayerTest, aSideFilesDecoderIsUsedOnOneQueueAtATime) {
    makePlayer();
    const Side side;
    const Side other;
    player_->setSelectedSubtitlesTrack(SubtitlesPosition::primary, side.track);
    player_->setSelectedSubtitlesTrack(SubtitlesPosition::secondary, other.track);
    main_.settle();
    std::promise<void> began;
    std::promise<void> overlap;
    std::atomic<bool> isDecoding{false};
    std::atomic<bool> hasOverlapped{false};
    const auto decodeSlowly = [&, hasBegun = false]() mutable {
        if (!std::exchange(hasBegun, true)) {
            isDecoding = true;
            began.set_value();
            overlap.get_future().wait_for(std::chrono::milliseconds(100));
            isDecoding = false;
        }
    };
    side.tracks.primaryDecoder->onDecode = decodeSlowly;
    side.tracks.primaryDecoder->onFlush = [&] {
        if (isDecoding && !hasOverlapped.exchange(true)) {
            overlap.set_value();
        }
    };
    seek(0);
    began.get_future().wait();
    player_->setSelectedSubtitlesTrack(SubtitlesPosition::primary, nullptr);
    player_->setSelectedSubtitlesTrack(SubtitlesPosition::secondary, side.track);
    main_.settle();
    EXPECT_FALSE(hasOverlapped);
    EXPECT_THAT(top_->shown(), ElementsAre(5020));
}

TEST_F(MediaPlayerTest, bothPositionsMayChangeFromTwoThreadsAtOnce) {
    makePlayer();
    const Side side;
    const dispatch::Group group;
    for (const auto position : {SubtitlesPosition::primary, SubtitlesPosition::secondary}) {
        group.enter();
        dispatch::globalQueue(dispatch::QualityOfService::unspecified)->async([&, position, group] {
            for (int i = 0; i < 50; ++i) {
                player_->setSelectedSubtitlesTrack(position, side.track);
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

TEST_F(MediaPlayerTest, pictureInPictureControlsAndFollowsPlayback) {
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

TEST_F(MediaPlayerTest, aPlayerWithAnInitialTimeIsGivenAfterTheSeek) {
    makePlayer();
    std::int64_t positionWhenGiven = -1;
    std::vector<std::int64_t> queuedWhenGiven;
    makeMediaPlayer(environment(), source_, {tracks_.video, nullptr, nullptr, nullptr}, ms(200),
                    dispatch::mainQueue(), [&](const auto& player) {
                        positionWhenGiven = inMilliseconds(player->currentTime());
                        queuedWhenGiven = layer_->queued();
                    });
    main_.settle();
    EXPECT_EQ(positionWhenGiven, 200);
    ASSERT_THAT(queuedWhenGiven, Not(IsEmpty()));
    EXPECT_EQ(queuedWhenGiven.front(), 5200);
    EXPECT_EQ(routing_->players, 1);
    EXPECT_EQ(routing_->owners, 1);
}

TEST_F(MediaPlayerTest, aDestroyedPlayerReleasesEverything) {
    makePlayer();
    bool isGranted = false;
    player_->requestAudioRoutingOwnership(dispatch::mainQueue(), [&] { isGranted = true; });
    main_.settle();
    EXPECT_TRUE(isGranted);
    EXPECT_EQ(routing_->players, 1);
    EXPECT_EQ(routing_->owners, 1);
    beginHeldSeek(40);
    std::weak_ptr<MediaPlayer> gone = player_;
    // The last reference is released on the player's own queue.
    player_->queue()->async([player = std::exchange(player_, nullptr)] {});
    source_->openSeekGate();
    main_.settle();
    EXPECT_TRUE(gone.expired());
    EXPECT_EQ(routing_->players, 0);
    EXPECT_EQ(routing_->owners, 0);
    EXPECT_EQ(clock_->removals(), 1);
    EXPECT_FALSE(layer_->isRequesting());
    EXPECT_FALSE(sound_->isRequesting());
    clock_->setRate(1);
    textStyle_->useOfUserSpecifiedStyleDidChange();
    main_.settle();
}

using MediaPlayerDeathTest = MediaPlayerTest;

TEST_F(MediaPlayerDeathTest, aPlayerIsMadeOnTheMainQueueOnly) {
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
