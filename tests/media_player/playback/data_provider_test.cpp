// SPDX-License-Identifier: GPL-3.0-or-later
#include <gmock/gmock.h>

#include "media_player/playback/audio_data_provider.h"
#include "media_player/playback/visual_data_provider.h"
#include "tests/media_player/playback/playback_fakes.h"
#include "tests/support/log_capture.h"

namespace zelvane::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

using Times = std::vector<std::int64_t>;

constexpr std::size_t kManyPackets = 2000;
constexpr int kInterruptedRead = 100;

class DataProviderTest : public testing::Test {
  protected:
    void makeSource(std::string_view visual, std::string_view audio, std::size_t delay = 0) {
        tracks_ = FakeTracks(delay, delay);
        source_ =
            std::make_shared<FakePacketSource>(tracks_, visual, audio, kCMTimeZero, ms(100'000));
    }
    void makeAudioProvider(std::size_t capacity = 1000) {
        renderer_ = std::make_shared<FakeRenderer>(capacity);
        audio_ = std::make_shared<AudioDataProvider>(source_, renderer_);
    }
    /// And a renderer that takes all of them.
    void makeManyPackets() {
        std::string packets;
        for (std::size_t i = 0; i < kManyPackets; ++i) {
            packets += fmt::format("{}k ", i * 20);
        }
        makeSource("", packets);
        makeAudioProvider(100'000);
    }
    void makeVisualProvider(std::size_t capacity = 1000) {
        renderer_ = std::make_shared<FakeRenderer>(capacity);
        visual_ =
            std::make_shared<VisualDataProvider>(source_, renderer_, primaryView_, secondaryView_);
    }
    void selectAudio() {
        audio_->perform(true, [this] { audio_->setAudioTrack(tracks_.audio); });
        main_.settle();
    }
    void selectVideoAndSubtitles() {
        visual_->perform(true, [this] {
            visual_->setSubtitlesTrack(SubtitlesPosition::primary, tracks_.primary);
            visual_->setSubtitlesTrack(SubtitlesPosition::secondary, tracks_.secondary);
            visual_->setVideoTrack(tracks_.video);
        });
        main_.settle();
    }
    /// Seeks, and expects the completion to be called once, on its queue.
    void seek(const std::shared_ptr<PullDrivenProvider>& provider, std::int64_t time) {
        int completions = 0;
        const auto queue = dispatch::makeSerialQueue("completions");
        provider->perform(true, [&] {
            provider->seek(ms(time), queue, [&] {
                EXPECT_TRUE(queue->isCurrent());
                ++completions;
            });
        });
        main_.settle();
        EXPECT_EQ(completions, 1);
    }

    LogCapture log_;
    MainQueueScope main_;
    FakeTracks tracks_;
    std::shared_ptr<FakePacketSource> source_;
    std::shared_ptr<FakeRenderer> renderer_;
    std::shared_ptr<FakeSubtitlesRenderer> primaryView_ = std::make_shared<FakeSubtitlesRenderer>();
    std::shared_ptr<FakeSubtitlesRenderer> secondaryView_ =
        std::make_shared<FakeSubtitlesRenderer>();
    std::shared_ptr<AudioDataProvider> audio_;
    std::shared_ptr<VisualDataProvider> visual_;
};

TEST_F(DataProviderTest, deliversWhatTheDecoderHoldsAtTheEndAndStopsRequesting) {
    makeSource("", "0k 20k 40k", 2);
    makeAudioProvider();
    selectAudio();
    EXPECT_THAT(renderer_->queued(), ElementsAre(0, 20, 40));
    EXPECT_FALSE(renderer_->isRequesting());
}

TEST_F(DataProviderTest, aVideoTrackIsTakenAfterTheEndOfTheMainLoop) {
    makeSource("0k 40", "");
    makeVisualProvider();
    visual_->perform(true, [this] { visual_->setVideoTrack(tracks_.video); });
    EXPECT_TRUE(dispatch::waitForQuiescence(std::chrono::seconds(5)));
    EXPECT_THAT(renderer_->queued(), ElementsAre(0, 40));
}

TEST_F(DataProviderTest, aBadPacketIsAGap) {
    makeSource("0k 40! 80", "0k 20! 40k");
    makeAudioProvider();
    selectAudio();
    EXPECT_THAT(renderer_->queued(), ElementsAre(0, 40));
    EXPECT_EQ(log_.count("Failed to start decoding audio packet: "), 1U);
    makeVisualProvider();
    selectVideoAndSubtitles();
    EXPECT_THAT(renderer_->queued(), ElementsAre(0, 80));
    EXPECT_EQ(log_.count("Failed to start decoding video packet: "), 1U);
}

TEST_F(DataProviderTest, aFailedReadStopsFeedingUntilASeek) {
    makeSource("0k", "0k 20k");
    source_->failsReads = true;
    makeVisualProvider();
    selectVideoAndSubtitles();
    EXPECT_EQ(log_.count("Failed to read packet from video/subtitles tracks: "), 1U);
    makeAudioProvider();
    selectAudio();
    EXPECT_EQ(log_.count("Failed to read packet from audio track: "), 1U);
    EXPECT_FALSE(renderer_->isRequesting());
    source_->failsReads = false;
    seek(audio_, 0);
    EXPECT_THAT(renderer_->queued(), ElementsAre(0, 20));
}

TEST_F(DataProviderTest, aFailedSeekContinuesFromTheReadPosition) {
    makeSource("0k 40 80k", "0k 20k 40k");
    makeAudioProvider(1);
    selectAudio();
    source_->failsSeeks = true;
    seek(audio_, 40);
    EXPECT_EQ(log_.count("Failed to seek audio track: "), 1U);
    // This decoder gives sound one packet late; the provider requests a picture at once.
    EXPECT_THAT(renderer_->queued(), ElementsAre(40));
    makeVisualProvider(1);
    selectVideoAndSubtitles();
    seek(visual_, 80);
    EXPECT_EQ(log_.count("Failed to seek visual tracks: "), 1U);
    EXPECT_THAT(renderer_->queued(), ElementsAre(40));
}

TEST_F(DataProviderTest, aTaskWaitsForOnePacketAtMost) {
    makeManyPackets();
    int readsWhenPerformed = 0;
    int reads = 0;
    source_->onAudioRead = [&](int count) {
        reads = count;
        if (count == kInterruptedRead) {
            audio_->perform(true, [&] { readsWhenPerformed = reads; });
        }
    };
    selectAudio();
    EXPECT_EQ(readsWhenPerformed, kInterruptedRead);
    EXPECT_EQ(renderer_->queued().size(), kManyPackets);
}

TEST_F(DataProviderTest, aDestroyedProviderStopsReading) {
    makeManyPackets();
    int reads = 0;
    source_->onAudioRead = [&](int count) {
        reads = count;
        if (count == kInterruptedRead) {
            audio_.reset();
        }
    };
    selectAudio();
    EXPECT_EQ(reads, kInterruptedRead);
    EXPECT_FALSE(renderer_->isRequesting());
}

TEST_F(DataProviderTest, aDeselectedTrackIsNotFed) {
    makeSource("", "0k 20k");
    makeAudioProvider();
    selectAudio();
    audio_->perform(true, [this] { audio_->setAudioTrack(nullptr); });
    seek(audio_, 0);
    EXPECT_THAT(renderer_->queued(), IsEmpty());
    EXPECT_FALSE(renderer_->isRequesting());
    EXPECT_THAT(source_->audioSeekTargets(), IsEmpty());
}

TEST_F(DataProviderTest, aDestroyedProviderStopsRequestingAndItsTasksStillRun) {
    makeSource("", "0k 20k 40k");
    makeAudioProvider(1);
    selectAudio();
    EXPECT_TRUE(renderer_->isRequesting());
    bool hasRun = false;
    audio_->perform(false, [&] { hasRun = true; });
    audio_.reset();
    main_.settle();
    EXPECT_TRUE(hasRun);
    EXPECT_FALSE(renderer_->isRequesting());
}

struct SeekCase {
    const char* visual;
    std::int64_t target;
    std::size_t delay;
    Times queued;
    Times primary;
    Times secondary;
    bool isImageRemoved;
};

class VisualSeekTest : public DataProviderTest, public testing::WithParamInterface<SeekCase> {};

TEST_P(VisualSeekTest, startsWithTheFrameAtTheTarget) {
    const SeekCase& c = GetParam();
    makeSource(c.visual, "", c.delay);
    makeVisualProvider();
    selectVideoAndSubtitles();
    const std::size_t eventsBefore = renderer_->events().size();
    seek(visual_, c.target);
    EXPECT_EQ(renderer_->queued(), c.queued);
    EXPECT_EQ(primaryView_->shown(), c.primary);
    EXPECT_EQ(secondaryView_->shown(), c.secondary);
    auto events = renderer_->events();
    events.erase(events.begin(), events.begin() + static_cast<std::ptrdiff_t>(eventsBefore));
    EXPECT_EQ(std::count(events.begin(), events.end(), "flushAndRemoveImage") > 0,
              c.isImageRemoved);
}

INSTANTIATE_TEST_SUITE_P(
    timelines, VisualSeekTest,
    testing::Values(SeekCase{"0k 40 80 120k 160", 0, 0, {0, 40, 80, 120, 160}, {}, {}, false},
                    SeekCase{"0k 40 80 120k 160", 100, 0, {80, 120, 160}, {}, {}, false},
                    SeekCase{"0k 40 80 120k 160", 120, 0, {120, 160}, {}, {}, false},
                    // Reading continues while the decoder holds frames after the collected packets.
                    SeekCase{"0k 40 80 120k 160", 100, 3, {80, 120, 160}, {}, {}, false},
                    SeekCase{"0k 40 80 120k 160", 199, 3, {160}, {}, {}, false},
                    SeekCase{"0k 40 80 120k 160", 200, 3, {160}, {}, {}, false},
                    SeekCase{"0k! 40!", 60, 0, {}, {}, {}, true},
                    // In a gap the frame before it is shown, as in playback.
                    SeekCase{"0k 40 200 240", 100, 0, {40, 200, 240}, {}, {}, false},
                    SeekCase{"0k 40! 80 120", 60, 0, {0, 80, 120}, {}, {}, false},
                    SeekCase{"0k p0+500 s10+10 40 s30+100 80 p90+10 120k s130+5 160",
                             100,
                             0,
                             {80, 120, 160},
                             {0, 90},
                             {30, 130},
                             false},
                    SeekCase{
                        "0k p0+500 p20+500 40 p30+10 80", 60, 0, {40, 80}, {20, 30}, {}, false},
                    SeekCase{"0k p0+20 40 80 s0+20 p100+20 120k", 120, 0, {120}, {}, {}, false},
                    SeekCase{"0k p0! 40", 0, 0, {0, 40}, {}, {}, false}));

TEST_F(DataProviderTest, incompleteRecentDataIsNotUsedBySeeks) {
    // A failed read leaves a gap; too many subtitles are dropped.
    std::string manySubtitles = "0k ";
    for (int i = 0; i < 300; ++i) {
        manySubtitles += "p1+5 ";
    }
    const struct {
        std::string packets;
        bool failsReads;
        std::size_t fileSeeks;
    } cases[] = {
        {"0k 40 80", false, 0}, {"0k 40 80", true, 1}, {manySubtitles + "40 80", false, 1}};
    for (const auto& given : cases) {
        makeSource(given.packets, "");
        makeVisualProvider();
        static_cast<FakeDecoder&>(tracks_.video->decoder()).givesPictures = true;
        source_->failsReads = given.failsReads;
        selectVideoAndSubtitles();
        seek(visual_, 60);
        source_->failsSeeks = true;
        const auto before = log_.count("Failed to seek visual tracks: ");
        seek(visual_, 60);
        EXPECT_EQ(log_.count("Failed to seek visual tracks: ") - before, given.fileSeeks)
            << given.packets;
    }
}

TEST_F(DataProviderTest, aSearchDuringADragShowsIntermediateFrames) {
    makeSource("0k 40 80 120 160", "");
    makeVisualProvider();
    selectVideoAndSubtitles();
    const auto flushes = [this] {
        const auto events = renderer_->events();
        return std::count(events.begin(), events.end(), "flush");
    };
    const auto before = flushes();
    seek(visual_, 120);
    EXPECT_EQ(flushes() - before, 1);
    // One flush before the intermediate picture and one before the target, which remains.
    visual_->setIsScrubbing(true);
    seek(visual_, 80);
    EXPECT_EQ(flushes() - before, 4);
    EXPECT_THAT(renderer_->queued(), ElementsAre(80, 120, 160));
    // The interval between intermediate pictures has not passed.
    seek(visual_, 120);
    EXPECT_EQ(flushes() - before, 5);
}

TEST_F(DataProviderTest, subtitlesAreSentToTheirPositions) {
    makeSource("0k p0+10 s5+10 40 p20+10 s! p30!", "");
    makeVisualProvider();
    selectVideoAndSubtitles();
    EXPECT_THAT(primaryView_->shown(), ElementsAre(0, 20));
    EXPECT_THAT(secondaryView_->shown(), ElementsAre(5));
    EXPECT_EQ(log_.count("Failed to decode packet from primary subtitles track: "), 1U);
    EXPECT_EQ(log_.count("Failed to decode packet from secondary subtitles track: "), 1U);
}

TEST_F(DataProviderTest, theEndDrainsTheSubtitlesDecoders) {
    makeSource("0k", "");
    makeVisualProvider();
    visual_->perform(false, [this] {
        visual_->setSubtitlesTrack(SubtitlesPosition::primary, tracks_.primary);
        visual_->setSubtitlesTrack(SubtitlesPosition::secondary, tracks_.secondary);
        tracks_.primaryDecoder->failsAtEnd = true;
        tracks_.secondaryDecoder->held_ = {
            std::make_shared<SubtitlesFrame>(SubtitlesFrame{ms(7), ms(9), {}})};
        visual_->setVideoTrack(tracks_.video);
    });
    main_.settle();
    EXPECT_THAT(secondaryView_->shown(), ElementsAre(7));
    EXPECT_EQ(log_.count("Failed to dequeue remaining frames from subtitles frame decoder: "), 1U);
}

TEST_F(DataProviderTest, aNewVideoTrackClearsThePictureAndSetsTheGeometry) {
    makeSource("0k", "");
    makeVisualProvider();
    selectVideoAndSubtitles();
    EXPECT_THAT(renderer_->events(), ElementsAre("flushAndRemoveImage", "bounds 0,0 768x576",
                                                 "transform 0 1 -1 0", "stop", "request", "stop"));
    visual_->perform(true, [this] { visual_->setVideoTrack(nullptr); });
    main_.settle();
    const auto events = renderer_->events();
    EXPECT_THAT(std::vector(events.begin() + 6, events.end()),
                ElementsAre("flushAndRemoveImage", "bounds 0,0 0x0", "transform 1 0 0 1", "stop"));
}

TEST_F(DataProviderTest, withoutAVideoTrackASeekChangesNothing) {
    makeSource("0k p0+100", "");
    makeVisualProvider();
    visual_->perform(
        false, [this] { visual_->setSubtitlesTrack(SubtitlesPosition::primary, tracks_.primary); });
    main_.settle();
    dispatch::mainQueue()->async([this] {
        primaryView_->addSubtitlesFrame(
            std::make_shared<SubtitlesFrame>(SubtitlesFrame{ms(1), ms(2), {}}));
    });
    main_.settle();
    seek(visual_, 0);
    EXPECT_THAT(renderer_->events(), IsEmpty());
    EXPECT_THAT(primaryView_->shown(), ElementsAre(1));
}

} // namespace
} // namespace zelvane::test
