// SPDX-License-Identifier: GPL-3.0-or-later
#include "media_player/playback/seek_relevance.h"

#include <gtest/gtest.h>

#include "media_player/playback/recent_subtitles.h"
#include "tests/media_player/playback/playback_fakes.h"

namespace zelvane::test {
namespace {

SubtitlesFrames framesOf(std::string_view text, const Subtitles& subtitles = {}) {
    SubtitlesFrames list;
    for (const TimelinePacket& packet : timeline(text)) {
        list.push_back(std::make_shared<SubtitlesFrame>(
            SubtitlesFrame{ms(packet.start), ms(packet.start + packet.duration), subtitles}));
    }
    return list;
}

TEST(SeekRelevance, aBufferMattersWhenItHoldsTheTargetOrBeginsAfterIt) {
    struct Case {
        CMTime start;
        CMTime duration;
        bool isRelevant;
    };
    const CMTime target = ms(100);
    for (const auto& [start, duration, isRelevant] : std::initializer_list<Case>{
             {ms(60), ms(39), false},
             {ms(60), ms(40), false},
             {ms(60), ms(41), true},
             {ms(100), ms(40), true},
             {ms(100), ms(0), false},
             {ms(101), ms(0), true},
             {ms(140), ms(40), true},
             // Nothing tells whether a buffer without a duration still holds the target.
             {ms(60), kCMTimeInvalid, false},
             {ms(100), kCMTimeInvalid, false},
             {ms(101), kCMTimeInvalid, true},
         }) {
        EXPECT_EQ(isRelevantForSeeking(*makeSampleBuffer(start, duration), target), isRelevant)
            << start.description() << " for " << duration.description();
    }
}

TEST(SeekRelevance, subtitlesAreShownFromTheLatestThatHoldsTheTargetElseFromTheFirstAfterIt) {
    struct Case {
        const char* frames;
        /// Index of the first that is shown, or the count.
        std::ptrdiff_t first;
    };
    for (const auto& [frames, first] : std::initializer_list<Case>{
             {"", 0},
             {"0+50 50+50", 2},
             {"0+101", 0},
             {"0+200 20+200 40+10", 1},
             {"100+1", 0},
             {"100+0", 1},
             {"0+200 150+10 20+500 10+20", 2},
             {"0+50 120+10 60+10 130+10", 1},
         }) {
        const SubtitlesFrames list = framesOf(frames);
        EXPECT_EQ(firstRelevantFrame(list, ms(100)) - list.begin(), first) << frames;
    }
}

TEST(SeekRelevance, aFrameWithoutAnEndHoldsAllThatFollows) {
    const SubtitlesFrames list{
        std::make_shared<SubtitlesFrame>(SubtitlesFrame{ms(10), kCMTimePositiveInfinity, {}})};
    EXPECT_EQ(firstRelevantFrame(list, ms(1'000'000)), list.begin());
}

TEST(RecentSubtitles, keepWhatASeekShowsAndDropWhatALaterFrameReplaces) {
    struct Case {
        const char* frames;
        std::int64_t earliest;
        std::vector<std::int64_t> kept;
    };
    for (const auto& [frames, earliest, kept] : std::initializer_list<Case>{
             {"0+50 50+50 100+50", 70, {50, 100}},
             // Pictures and clears without a stated end, as PGS has them.
             {"0+9000 10+9000 20+9000 90+9000", 30, {20, 90}},
             {"0+100 20+60 40+100", 30, {0, 20, 40}},
             {"0+100 20+60 40+100", 50, {40}},
             {"0+100 20+60", 30, {0, 20}},
         }) {
        RecentSubtitles recent;
        recent.add(framesOf(frames));
        recent.keepFrom(ms(earliest));
        std::vector<std::int64_t> starts;
        // Of a list in which none holds the target, all that begins after it is shown.
        for (const auto& frame : recent.shownFrom(ms(-1))) {
            starts.push_back(inMilliseconds(frame->startTime));
        }
        EXPECT_EQ(starts, kept) << frames;
    }
}

TEST(RecentSubtitles, areBoundedByTheBytesOfTheirPictures) {
    const auto picture = makePicture(ms(0), ms(1))->imageBuffer();
    RecentSubtitles recent({.frames = 10, .bytes = 3 * picture->dataSize()});
    const std::vector<ImageSubtitle> pictures{{picture, {}, {}}};
    for (int i = 0; i < 50; ++i) {
        recent.add(framesOf(fmt::format("{}+9000", i * 10), pictures));
        recent.keepFrom(ms(i * 10 - 15));
        EXPECT_FALSE(recent.isOverfull()) << i;
    }
    recent.add(framesOf("600+9000", pictures));
    EXPECT_TRUE(recent.isOverfull());
}

TEST(SeekRelevanceDeathTest, timesThatRunBackwardsStopTheProcess) {
    EXPECT_DEATH(isRelevantForSeeking(*makeSampleBuffer(ms(10), ms(-5)), ms(0)),
                 "ends before it starts");
    const SubtitlesFrames list{std::make_shared<SubtitlesFrame>(SubtitlesFrame{ms(10), ms(5), {}})};
    EXPECT_DEATH(firstRelevantFrame(list, ms(0)), "ends before it starts");
}

} // namespace
} // namespace zelvane::test
