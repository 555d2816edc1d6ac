// SPDX-License-Identifier: GPL-3.0-or-later
#include "media_player/playback/external_subtitles_data_provider.h"

#include <fstream>

#include <fmt/format.h>
#include <gmock/gmock.h>

#include "media_player/media_source/media_source.h"
#include "tests/media_player/playback/playback_fakes.h"
#include "tests/support/clips.h"
#include "tests/support/log_capture.h"

namespace zelvane::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

TEST(BufferDataRequester, asksOnceForEachTimeThatLittleIsLeft) {
    const BufferDataRequester requester(2, 10);
    const auto queue = std::make_shared<dispatch::RunLoopQueue>("producer");
    int requests = 0;
    const auto asked = [&] {
        queue->runPending();
        return std::exchange(requests, 0);
    };
    requester.setBufferCount(3);
    requester.setDataProducer(BufferDataRequester::DataProducer{queue, [&] { ++requests; }});
    EXPECT_EQ(asked(), 0) << "3 is above the low mark";
    requester.setBufferCount(2);
    requester.setBufferCount(1);
    EXPECT_EQ(asked(), 1) << "a change during a request starts no second one";
    requester.setBufferCount(2);
    EXPECT_EQ(asked(), 1) << "the next change looks again";
    requester.setDataProducer(std::nullopt);
    requester.setBufferCount(0);
    EXPECT_EQ(asked(), 0) << "nobody to ask";
    requester.setDataProducer(BufferDataRequester::DataProducer{queue, [&] { ++requests; }});
    EXPECT_EQ(asked(), 1) << "a new producer is asked at once";
}

TEST(BufferDataRequester, theHighMarkEndsABurst) {
    const BufferDataRequester requester(2, 10);
    requester.setBufferCount(9);
    EXPECT_TRUE(requester.shouldProvideMoreData());
    EXPECT_FALSE(requester.shouldProvideMoreData(1)) << "one is under way";
    requester.setBufferCount(10);
    EXPECT_FALSE(requester.shouldProvideMoreData());
}

TEST(BufferDataRequester, mayGoWhileItsRequestWaits) {
    const auto queue = std::make_shared<dispatch::RunLoopQueue>("producer");
    bool ran = false;
    {
        const BufferDataRequester requester(2, 10);
        requester.setDataProducer(BufferDataRequester::DataProducer{queue, [&] { ran = true; }});
    }
    queue->runPending();
    EXPECT_TRUE(ran);
}

/// Holds frames until the test ends them, as a view does with those that wait for the clock.
class HoldingRenderer final : public SubtitlesRenderer,
                              public std::enable_shared_from_this<HoldingRenderer> {
  public:
    void addSubtitlesFrame(SubtitlesFrameRef frame) override {
        arrived_.push_back(inMilliseconds(frame->startTime));
        if (!dropsEverything) {
            held_.push_back(arrived_.back());
        }
        most_ = std::max(most_, held_.size());
        tell();
    }
    void removeAllSubtitles() override {
        dispatch::mainQueue()->async([self = shared_from_this()] {
            self->held_.clear();
            self->tell();
        });
    }
    void setVideoDimensions(const VideoDimensions& /*dimensions*/) override {}

    void endFirst(std::size_t count) {
        held_.erase(held_.begin(), held_.begin() + static_cast<std::ptrdiff_t>(count));
        tell();
    }
    const std::vector<std::int64_t>& held() const { return held_; }
    const std::vector<std::int64_t>& arrived() const { return arrived_; }
    std::size_t most() const { return most_; }

    /// Each frame is over when it comes.
    bool dropsEverything = false;

  private:
    void tell() const { mediaDataRequester().setBufferCount(static_cast<int>(held_.size())); }

    std::vector<std::int64_t> held_;
    std::vector<std::int64_t> arrived_;
    std::size_t most_ = 0;
};

std::string stamp(std::int64_t milliseconds) {
    return fmt::format("{:02}:{:02}:{:02},{:03}", milliseconds / 3'600'000,
                       milliseconds / 60'000 % 60, milliseconds / 1000 % 60, milliseconds % 1000);
}

struct Cue {
    std::int64_t start;
    std::int64_t end;
};

/// `count` cues of 900 ms, one each second from the first on.
std::vector<Cue> everySecond(std::int64_t count) {
    std::vector<Cue> cues;
    for (std::int64_t i = 1; i <= count; ++i) {
        cues.push_back({i * 1000, i * 1000 + 900});
    }
    return cues;
}

/// A provider on a real side file.
class SideFile {
  public:
    explicit SideFile(const std::vector<Cue>& cues, CMTime startTime = kCMTimeZero)
        : media(std::make_shared<FakePacketSource>(FakeTracks(), "", "", startTime, ms(60'000))),
          provider(std::make_shared<ExternalSubtitlesDataProvider>(media, renderer)) {
        const auto path = folder.path() / "side.srt";
        std::ofstream file(path);
        for (std::size_t i = 0; i < cues.size(); ++i) {
            file << i + 1 << '\n'
                 << stamp(cues[i].start) << " --> " << stamp(cues[i].end) << "\ncue " << i
                 << "\n\n";
        }
        file.close();
        track = MediaSource::openExternalSubtitles(URL::fromPath(path), ms(60'000))
                    .externalSubtitlesTracks.front();
    }

    void select(const std::shared_ptr<SubtitlesTrack>& selected) {
        provider->perform(true, [this, selected] { provider->setSubtitlesTrack(selected); });
        main.settle();
    }
    void seek(std::int64_t target, bool shouldProvideData = false) {
        bool completed = false;
        provider->perform(true, [&] {
            provider->seek(ms(target), shouldProvideData, dispatch::mainQueue(),
                           [&] { completed = true; });
        });
        main.settle();
        EXPECT_TRUE(completed);
    }

    const MainQueueScope main;
    const TemporaryFolder folder;
    const LogCapture log;
    std::shared_ptr<FakePacketSource> media;
    std::shared_ptr<HoldingRenderer> renderer = std::make_shared<HoldingRenderer>();
    std::shared_ptr<ExternalSubtitlesDataProvider> provider;
    std::shared_ptr<ExternalSubtitlesTrack> track;
};

TEST(ExternalSubtitlesDataProvider, readsAheadToTheHighMarkAndOnFromTheLowOne) {
    SideFile side(everySecond(40));
    side.select(side.track);
    EXPECT_THAT(side.renderer->held(), SizeIs(10));
    side.renderer->endFirst(7);
    side.main.settle();
    EXPECT_THAT(side.renderer->held(), SizeIs(3)) << "enough is left";
    side.renderer->endFirst(1);
    side.main.settle();
    EXPECT_THAT(side.renderer->held(), SizeIs(10));
    EXPECT_EQ(side.renderer->held().front(), 9000) << "none is left out, none comes twice";
    EXPECT_EQ(side.renderer->most(), 10U);
}

TEST(ExternalSubtitlesDataProvider, aBusyMainThreadIsNotHandedTheWholeFile) {
    SideFile side(everySecond(100));
    side.provider->perform(true, [&] { side.provider->setSubtitlesTrack(side.track); });
    // The main queue stands still until the provider has nothing left to do.
    ASSERT_TRUE(dispatch::waitForQuiescence(std::chrono::seconds(20)));
    side.main.settle();
    EXPECT_EQ(side.renderer->most(), 10U);
}

TEST(ExternalSubtitlesDataProvider, framesThatAreOverOnArrivalDoNotEndTheFeeding) {
    SideFile side(everySecond(100));
    side.renderer->dropsEverything = true;
    side.select(side.track);
    EXPECT_THAT(side.renderer->arrived(), SizeIs(100));
}

TEST(ExternalSubtitlesDataProvider, afterTheLastFrameNothingIsReadUntilASeek) {
    SideFile side(everySecond(3));
    side.select(side.track);
    EXPECT_THAT(side.renderer->held(), ElementsAre(1000, 2000, 3000));
    side.renderer->endFirst(3);
    side.main.settle();
    EXPECT_THAT(side.renderer->held(), IsEmpty());
    side.seek(1500);
    EXPECT_THAT(side.renderer->held(), ElementsAre(1000, 2000, 3000));
}

TEST(ExternalSubtitlesDataProvider, aSeekShowsWhatHoldsTheTargetAndWhatFollows) {
    SideFile side({{1000, 2000}, {2000, 9000}, {3000, 4000}, {9500, 9900}, {20'000, 21'000}});
    side.select(side.track);
    const std::pair<std::int64_t, std::vector<std::int64_t>> cases[] = {
        {0, {1000, 2000, 3000, 9500, 20'000}},
        {1999, {1000, 2000, 3000, 9500, 20'000}},
        {2000, {2000, 3000, 9500, 20'000}},
        {3500, {3000, 9500, 20'000}},
        {5000, {2000, 9500, 20'000}},
        {9000, {9500, 20'000}},
        {30'000, {}},
        {15'000, {20'000}},
        {1500, {1000, 2000, 3000, 9500, 20'000}},
    };
    for (const auto& [target, expected] : cases) {
        for (const bool shouldProvideData : {false, true}) {
            side.seek(target, shouldProvideData);
            EXPECT_EQ(side.renderer->held(), expected) << target;
        }
    }
}

TEST(ExternalSubtitlesDataProvider, whatBeganLongBeforeATargetIsFoundBehindShorterOnes) {
    SideFile side({{0, 50'000}, {1000, 2000}, {3000, 3500}, {5000, 6000}, {8000, 9000}});
    side.select(side.track);
    side.seek(7000);
    EXPECT_THAT(side.renderer->held(), ElementsAre(0, 8000));
    side.seek(5500);
    EXPECT_THAT(side.renderer->held(), ElementsAre(5000, 8000)) << "the latest one wins";
}

TEST(ExternalSubtitlesDataProvider, timesCountFromTheStartOfTheMedia) {
    constexpr std::int64_t kStart = 3'600'000;
    SideFile side(everySecond(3), ms(kStart));
    side.select(side.track);
    side.seek(kStart + 2100);
    EXPECT_THAT(side.renderer->held(), ElementsAre(kStart + 2000, kStart + 3000));
}

TEST(ExternalSubtitlesDataProvider, withoutATrackItShowsNothingAndStillAnswers) {
    SideFile side(everySecond(3));
    side.select(side.track);
    side.select(nullptr);
    EXPECT_THAT(side.renderer->held(), IsEmpty());
    side.seek(1000);
    EXPECT_THAT(side.renderer->held(), IsEmpty());
    bool isTaken = false;
    side.provider->perform(true, [&] {
        side.provider->setSubtitlesTrack(side.track, dispatch::mainQueue(),
                                         [&] { isTaken = true; });
    });
    side.main.settle();
    EXPECT_TRUE(isTaken);
    side.seek(0);
    EXPECT_THAT(side.renderer->held(), SizeIs(3));
}

/// A provider on a time line of packets, for what real files do not do on demand.
class ScriptedSide {
  public:
    explicit ScriptedSide(std::string_view packets)
        : source(std::make_shared<FakePacketSource>(tracks, packets, "", kCMTimeZero, ms(9000))),
          provider(std::make_shared<ExternalSubtitlesDataProvider>(source, renderer)) {}

    void perform(dispatch::Task task) {
        provider->perform(true, std::move(task));
        main.settle();
    }
    void select() {
        perform([this] {
            provider->setSubtitlesTrack(
                std::make_shared<ExternalSubtitlesTrack>(source, tracks.primary));
        });
    }
    void seek(std::int64_t target) {
        perform(
            [this, target] { provider->seek(ms(target), false, dispatch::mainQueue(), [] {}); });
    }

    const MainQueueScope main;
    const LogCapture log;
    FakeTracks tracks;
    std::shared_ptr<FakePacketSource> source;
    std::shared_ptr<HoldingRenderer> renderer = std::make_shared<HoldingRenderer>();
    std::shared_ptr<ExternalSubtitlesDataProvider> provider;
};

TEST(ExternalSubtitlesDataProvider, aDamagedPacketIsAGapInTheLines) {
    ScriptedSide file("p100+50 p200!+50 p300+50");
    file.tracks.primaryDecoder->failsAtEnd = true;
    file.select();
    EXPECT_THAT(file.renderer->held(), ElementsAre(100, 300));
    EXPECT_EQ(file.log.count("Failed to decode external subtitles packet: "), 1U);
    EXPECT_EQ(file.log.count("Failed to dequeue remaining frames from subtitles frame decoder: "),
              1U);
}

TEST(ExternalSubtitlesDataProvider, aFailedReadEndsTheReadingUntilTheNextSeek) {
    ScriptedSide file("p100+50 p200+50");
    file.source->failsReads = true;
    file.select();
    EXPECT_THAT(file.renderer->held(), IsEmpty());
    file.renderer->endFirst(0);
    file.main.settle();
    EXPECT_EQ(file.log.count("Failed to read packet from external subtitles track: "), 1U);
    file.source->failsReads = false;
    file.seek(0);
    EXPECT_THAT(file.renderer->held(), ElementsAre(100, 200));
}

TEST(ExternalSubtitlesDataProvider, aFailedSeekIsLoggedAndAnswered) {
    ScriptedSide file("p100+50");
    file.select();
    file.source->failsSeeks = true;
    file.seek(500);
    EXPECT_EQ(file.log.count("Failed to seek external subtitles track: "), 1U);
    EXPECT_THAT(file.renderer->held(), IsEmpty());
}

TEST(ExternalSubtitlesDataProviderDeath, aTrackOfTheMediaItselfIsRefused) {
    ScriptedSide file("p100+50");
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    EXPECT_DEATH(
        {
            file.provider->perform(false,
                                   [&] { file.provider->setSubtitlesTrack(file.tracks.primary); });
            dispatch::waitForQuiescence(std::chrono::seconds(5));
        },
        "of the media itself");
}

} // namespace
} // namespace zelvane::test
