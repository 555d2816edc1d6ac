// SPDX-License-Identifier: GPL-3.0-or-later
#include <numeric>
#include <set>

#include <gtest/gtest.h>

#include "core_media/ffmpeg_time.h"
#include "tests/media_player/media_source/media_source_support.h"
#include "tests/support/log_capture.h"

namespace zelvane {
namespace {

namespace fs = std::filesystem;
using test::MediaSourceRef;
using test::nextAudio;
using test::nextVisual;
using test::openSource;

double secondsOf(const PacketRef& packet, const MediaTrack& track) {
    return timeFromStamp(packet->avPacket().pts, track.streamTimeBase())->seconds();
}

/// A minute at 10 pictures a second, a key picture every second, with captions at 1, 27 and 29 s.
fs::path minute(const std::string& container) {
    const std::string subtitles = "data:text/plain,1\n00:00:01,000 --> 00:00:02,000\nOne\n\n"
                                  "2\n00:00:27,000 --> 00:00:28,500\nTwo\n\n"
                                  "3\n00:00:29,000 --> 00:00:31,000\nThree\n";
    return test::madeClip(
        "reading-minute." + container,
        test::lavfi("testsrc2=size=64x48:rate=10:duration=60") + test::lavfi("sine=duration=60") +
            "-f srt -i '" + subtitles +
            "' -map 0:v -map 1:a -map 2:s -c:v libx264 -g 10 -sc_threshold 0 -c:a aac -c:s " +
            (container == "mp4" ? "mov_text" : "srt"));
}

PacketSource::CollectedPackets soughtVisual(const MediaSourceRef& source, const CMTime& time,
                                            const SubtitlesTracks& subtitlesTracks = {}) {
    return source->visualTracksQueue()->sync(
        [&] { return source->seekVisual(test::firstVideoTrack(*source), subtitlesTracks, time); });
}

std::vector<PacketRef> soughtAudio(const MediaSourceRef& source, const CMTime& time) {
    return source->audioTracksQueue()->sync(
        [&] { return source->seekAudio(source->audioTracks().front(), time); });
}

TEST(MediaSourceReading, bothReadersStartAtTheStartAndAreIndependent) {
    const auto source = openSource(minute("mkv"));
    const auto& video = source->videoTracks().front();
    const auto& audio = source->audioTracks().front();
    constexpr std::size_t kPackets = 40;
    std::vector<std::int64_t> alone;
    alone.reserve(kPackets);
    while (alone.size() < kPackets) {
        alone.push_back(nextAudio(source, audio)->avPacket().pts);
    }
    const auto second = openSource(minute("mkv"));
    for (const std::int64_t pts : alone) {
        const auto packet = nextVisual(second, second->videoTracks().front());
        ASSERT_TRUE(packet);
        EXPECT_EQ(packet->track, second->videoTracks().front());
        EXPECT_EQ(nextAudio(second, second->audioTracks().front())->avPacket().pts, pts);
    }
    EXPECT_NEAR(secondsOf(nextVisual(source, video)->packet, *video), 0, 0.05);
}

TEST(MediaSourceReading, onlySelectedTracksAreReadAndTheEndIsNotLogged) {
    const auto source = openSource(minute("mkv"));
    const auto& video = source->videoTracks().front();
    const auto& captions = source->embeddedSubtitlesTracks().front();
    EXPECT_FALSE(nextVisual(source, nullptr));
    const test::LogCapture log;
    std::size_t pictures = 0;
    std::size_t lines = 0;
    while (const auto packet = nextVisual(source, video, {captions})) {
        ++(packet->track == video ? pictures : lines);
        const auto expected =
            packet->track == video ? video->streamIndex() : captions->streamIndex();
        ASSERT_EQ(packet->packet->avPacket().stream_index, static_cast<int>(expected));
    }
    EXPECT_EQ(pictures, 600U);
    EXPECT_EQ(lines, 3U);
    EXPECT_FALSE(nextVisual(source, video));
    EXPECT_TRUE(log.lines().empty());

    // A change of the selection takes effect with the next read.
    soughtVisual(source, kCMTimeZero);
    const auto line = nextVisual(source, nullptr, {captions});
    ASSERT_TRUE(line);
    EXPECT_EQ(line->track, captions);
    const auto picture = nextVisual(source, video);
    ASSERT_TRUE(picture);
    EXPECT_EQ(picture->track, video);
}

TEST(MediaSourceReading, aSeekCollectsFromTheKeyPictureToTheTarget) {
    for (const std::string container : {"mkv", "mp4", "avi", "flv"}) {
        SCOPED_TRACE(container);
        const auto clip = container == "mkv" || container == "mp4"
                              ? minute(container)
                              : test::madeClip("reading-plain." + container,
                                               test::inputFile(minute("mkv")) +
                                                   "-map 0:v -map 0:a -g 10 -c:a mp3 -c:v " +
                                                   (container == "avi" ? "mpeg4" : "flv"));
        const auto source = openSource(clip);
        const auto& video = source->videoTracks().front();
        for (const double target : {0.0, 0.5, 31.25, 12.0, 59.9}) {
            SCOPED_TRACE(target);
            const auto collected = soughtVisual(source, CMTime::fromSeconds(target, 1000));
            ASSERT_EQ(collected.size(), 1U);
            const auto& packets = collected.front().second;
            EXPECT_NE(packets.front()->avPacket().flags & AV_PKT_FLAG_KEY, 0);
            for (const auto& packet : packets) {
                const bool isLast = packet == packets.back();
                EXPECT_EQ(secondsOf(packet, *video) >= target, isLast);
            }
            // The next packet follows without a gap.
            if (const auto next = nextVisual(source, video)) {
                EXPECT_GT(next->packet->avPacket().pos, packets.back()->avPacket().pos);
            }
        }
    }
}

TEST(MediaSourceReading, captionsShortlyBeforeTheTargetAreReadAgain) {
    const auto source = openSource(minute("mp4"));
    const auto& captions = source->embeddedSubtitlesTracks().front();
    soughtVisual(source, CMTime(5, 1), {captions}); // The index is complete from here on.
    const auto collected = soughtVisual(source, CMTime(30, 1), {captions});
    std::set<double> starts;
    for (const auto& [track, packets] : collected) {
        for (const auto& packet : packets) {
            if (track == captions && packet->avPacket().size > 2) { // Gaps are empty lines.
                starts.insert(secondsOf(packet, *captions));
            }
        }
    }
    EXPECT_EQ(starts, (std::set<double>{29}));
}

/// A key frame each second.
TEST(MediaSourceReading, readingContinuesIfNoKeyframeIsBetween) {
    for (const std::string container : {"mkv", "mp4"}) {
        const auto source = openSource(minute(container));
        const auto& video = source->videoTracks().front();
        soughtVisual(source, CMTime(40'200, 1000));
        const auto continueReading = [&](int from, int to) {
            return source->visualTracksQueue()->sync([&] {
                return source->continueReadingTo(video, {}, CMTime(from, 1000), CMTime(to, 1000));
            });
        };
        EXPECT_FALSE(continueReading(40'200, 41'300)) << "beyond the next key frame";
        EXPECT_FALSE(continueReading(59'100, 59'800))
            << "the packets after the last one are unknown";
        const auto packets = continueReading(40'200, 40'700);
        ASSERT_TRUE(packets);
        ASSERT_EQ(packets->size(), 1U);
        const auto& ofVideo = packets->front().second;
        EXPECT_NEAR(secondsOf(ofVideo.front(), *video), 40.4, 0.3) << container;
        EXPECT_GE(secondsOf(ofVideo.back(), *video), 40.7);
        EXPECT_LT(secondsOf(ofVideo.back(), *video), 41.05);
    }
}

TEST(MediaSourceReading, aSeekPastTheEndIsNoError) {
    const auto source = openSource(minute("mkv"));
    EXPECT_LE(soughtVisual(source, CMTime(1000, 1)).size(), 1U);
    EXPECT_FALSE(nextVisual(source, source->videoTracks().front()));
    soughtAudio(source, CMTime(1000, 1));
    EXPECT_FALSE(nextAudio(source, source->audioTracks().front()));
}

TEST(MediaSourceReading, aSeekWithoutVideoMovesAndCollectsNothing) {
    const auto source = openSource(minute("mkv"));
    const auto& captions = source->embeddedSubtitlesTracks().front();
    const auto collected = source->visualTracksQueue()->sync(
        [&] { return source->seekVisual(nullptr, {captions}, CMTime(29, 1)); });
    EXPECT_TRUE(collected.empty());
    EXPECT_NEAR(secondsOf(nextVisual(source, nullptr, {captions})->packet, *captions), 29, 2.1);
}

TEST(MediaSourceReading, audioIsSoughtToItsTarget) {
    for (const std::string container : {"mkv", "mp4"}) {
        const auto source = openSource(minute(container));
        const auto packets = soughtAudio(source, CMTime(30, 1));
        ASSERT_FALSE(packets.empty());
        const auto& audio = *source->audioTracks().front();
        EXPECT_GE(secondsOf(packets.back(), audio), 30);
        EXPECT_LT(secondsOf(packets.back(), audio), 30.05);
        const auto& video = source->videoTracks().front();
        EXPECT_NEAR(secondsOf(nextVisual(source, video)->packet, *video), 0, 0.05);
    }
}

TEST(MediaSourceReading, aTargetBeforeTheFirstIndexEntryIsReachedForward) {
    // Each leaves seeking to the library's index and starts above zero.
    for (const std::string container : {"ivf", "flv"}) {
        SCOPED_TRACE(container);
        const std::string codec = container == "ivf" ? "libvpx" : "flv";
        const auto source = openSource(
            test::madeClip("reading-late." + container,
                           {"-f", "lavfi", "-i", "testsrc2=size=64x48:rate=10:duration=3", "-c:v",
                            codec, "-output_ts_offset", "5"}));
        EXPECT_GT(source->startTime(), kCMTimeZero);
        const auto collected = soughtVisual(source, kCMTimeZero);
        ASSERT_EQ(collected.size(), 1U);
        EXPECT_NEAR(secondsOf(collected[0].second.front(), *collected[0].first), 5, 0.2);
    }
}

TEST(MediaSourceReading, packetsOutliveTheirSource) {
    auto source = openSource(minute("mkv"));
    const auto packet = nextVisual(source, source->videoTracks().front())->packet;
    const auto sum = [&] {
        const AVPacket& data = packet->avPacket();
        return std::accumulate(data.data, data.data + data.size, 0U);
    };
    const unsigned before = sum();
    source.reset();
    EXPECT_EQ(sum(), before);
}

} // namespace
} // namespace zelvane
