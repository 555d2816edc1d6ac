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

TEST(BufferDataRequester, asksFromTheLowMarkToTheHighOne) {
    BufferDataRequester requester(2, 10);
    const auto queue = std::make_shared<dispatch::RunLoopQueue>("producer");
    int requests = 0;
    requester.setBufferCount(3);
    requester.requestMediaDataWhenReady(queue, [&] {
        // More than the high mark: the count is wrong.
        if (++requests > 10) {
            requester.stopRequestingMediaData();
        }
        requester.willDeliver();
    });
    queue->runPending();
    EXPECT_EQ(requests, 0) << "3 is above the low mark";
    requester.setBufferCount(2);
    queue->runPending();
    EXPECT_EQ(requests, 8) << "frames on their way count";
    for (int i = 0; i < 8; ++i) {
        requester.deliver([&] { requester.setBufferCount(3 + i); });
    }
    queue->runPending();
    EXPECT_EQ(requests, 8) << "a delivered frame counts once";
    requester.setBufferCount(3);
    queue->runPending();
    EXPECT_EQ(requests, 8);
    requester.stopRequestingMediaData();
    requester.setBufferCount(0);
    queue->runPending();
    EXPECT_EQ(requests, 8);
}

std::string stamp(std::int64_t milliseconds) {
    return fmt::format("{:02}:{:02}:{:02},{:03}", milliseconds / 3'600'000,
                       milliseconds / 60'000 % 60, milliseconds / 1000 % 60, milliseconds % 1000);
}

struct Cue {
    std::int64_t start;
    std::int64_t end;
};

/// `count` cues of 900 ms, one a second, starting at 1 s.
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
    explicit SideFile(const std::vector<Cue>& cues)
        : media(std::make_shared<FakePacketSource>(FakeTracks(), "", "", kCMTimeZero, ms(60'000))),
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
    void seek(std::int64_t target) {
        bool completed = false;
        provider->perform(true, [&] {
            provider->seek(ms(target), dispatch::mainQueue(), [&] { completed = true; });
        });
        main.settle();
        EXPECT_TRUE(completed);
    }

    const MainQueueScope main;
    const TemporaryFolder folder;
    const LogCapture log;
    std::shared_ptr<FakePacketSource> media;
    std::shared_ptr<FakeSubtitlesRenderer> renderer = std::make_shared<FakeSubtitlesRenderer>();
    std::shared_ptr<ExternalSubtitlesDataProvider> provider;
    std::shared_ptr<ExternalSubtitlesTrack> track;
};

TEST(ExternalSubtitlesDataProvider, readsToTheHighMarkAndAgainFromTheLowOne) {
    SideFile side(everySecond(40));
    side.select(side.track);
    EXPECT_THAT(side.renderer->shown(), SizeIs(10));
    side.renderer->endFirst(7);
    side.main.settle();
    EXPECT_THAT(side.renderer->shown(), SizeIs(3)) << "enough is left";
    side.renderer->endFirst(1);
    side.main.settle();
    EXPECT_THAT(side.renderer->shown(), SizeIs(10));
    EXPECT_EQ(side.renderer->shown().front(), 9000) << "none is left out, none comes twice";
    EXPECT_EQ(side.renderer->most(), 10U);
}

TEST(ExternalSubtitlesDataProvider, aBusyMainThreadIsNotSentTheWholeFile) {
    SideFile side(everySecond(100));
    side.provider->perform(true, [&] { side.provider->setSubtitlesTrack(side.track); });
    // The main queue does not run until the provider has finished.
    ASSERT_TRUE(dispatch::waitForQuiescence(std::chrono::seconds(20)));
    side.main.settle();
    EXPECT_EQ(side.renderer->most(), 10U);
}

TEST(ExternalSubtitlesDataProvider, framesThatEndedBeforeArrivalDoNotStopFeeding) {
    SideFile side(everySecond(100));
    side.renderer->dropsEverything = true;
    side.select(side.track);
    EXPECT_EQ(side.renderer->arrivals(), 100);
}

TEST(ExternalSubtitlesDataProvider, afterTheLastFrameNothingIsReadUntilASeek) {
    SideFile side(everySecond(3));
    side.select(side.track);
    EXPECT_THAT(side.renderer->shown(), ElementsAre(1000, 2000, 3000));
    side.renderer->endFirst(3);
    side.main.settle();
    EXPECT_THAT(side.renderer->shown(), IsEmpty());
    side.seek(1500);
    EXPECT_THAT(side.renderer->shown(), ElementsAre(1000, 2000, 3000));
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
        side.seek(target);
        EXPECT_EQ(side.renderer->shown(), expected) << target;
    }
}

TEST(ExternalSubtitlesDataProvider, aLongFrameThatStartedBeforeShorterOnesIsFound) {
    SideFile side({{0, 50'000}, {1000, 2000}, {3000, 3500}, {5000, 6000}, {8000, 9000}});
    side.select(side.track);
    side.seek(7000);
    EXPECT_THAT(side.renderer->shown(), ElementsAre(0, 8000));
    side.seek(5500);
    EXPECT_THAT(side.renderer->shown(), ElementsAre(5000, 8000)) << "the latest one wins";
}

TEST(ExternalSubtitlesDataProvider, withoutATrackASeekOnlyCompletes) {
    SideFile side(everySecond(3));
    side.select(side.track);
    side.select(nullptr);
    EXPECT_THAT(side.renderer->shown(), IsEmpty());
    side.seek(1000);
    EXPECT_THAT(side.renderer->shown(), IsEmpty());
    side.select(side.track);
    side.seek(0);
    EXPECT_THAT(side.renderer->shown(), SizeIs(3));
}

/// A provider on a time line of packets, for failures that real files do not have on demand.
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
        perform([this, target] { provider->seek(ms(target), dispatch::mainQueue(), [] {}); });
    }

    const MainQueueScope main;
    const LogCapture log;
    FakeTracks tracks;
    std::shared_ptr<FakePacketSource> source;
    std::shared_ptr<FakeSubtitlesRenderer> renderer = std::make_shared<FakeSubtitlesRenderer>();
    std::shared_ptr<ExternalSubtitlesDataProvider> provider;
};

TEST(ExternalSubtitlesDataProvider, aDamagedPacketLosesItsFrame) {
    ScriptedSide file("p100+50 p200!+50 p300+50");
    file.tracks.primaryDecoder->failsAtEnd = true;
    file.select();
    EXPECT_THAT(file.renderer->shown(), ElementsAre(100, 300));
    EXPECT_EQ(file.log.count("Failed to decode external subtitles packet: "), 1U);
    EXPECT_EQ(file.log.count("Failed to dequeue remaining frames from subtitles frame decoder: "),
              1U);
}

TEST(ExternalSubtitlesDataProvider, aFailedReadStopsReadingUntilASeek) {
    ScriptedSide file("p100+50 p200+50");
    file.source->failsReads = true;
    file.select();
    EXPECT_THAT(file.renderer->shown(), IsEmpty());
    file.renderer->endFirst(0);
    file.main.settle();
    EXPECT_EQ(file.log.count("Failed to read packet from external subtitles track: "), 1U);
    file.source->failsReads = false;
    file.seek(0);
    EXPECT_THAT(file.renderer->shown(), ElementsAre(100, 200));
}

TEST(ExternalSubtitlesDataProvider, aFailedSeekIsLoggedAndCompletes) {
    ScriptedSide file("p100+50");
    file.select();
    file.source->failsSeeks = true;
    file.seek(500);
    EXPECT_EQ(file.log.count("Failed to seek external subtitles track: "), 1U);
    EXPECT_THAT(file.renderer->shown(), IsEmpty());
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
