// SPDX-License-Identifier: GPL-3.0-or-later
#include "rendering/frame_schedule.h"

#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/rendering/rendering_fakes.h"
#include "tests/support/case_name.h"

namespace zelvane {
namespace {

using test::ms;

/// Plays a time line and returns the results. Words, times in milliseconds: "+40" adds a frame at
/// 40 that lasts 40, "+40/20" one that lasts 20, "+40/-" one of unknown duration, "+-" one without
/// a time;
/// "@50" is a deadline with the clock stopped at 50, ">50" with the clock running; "flush" and
/// "clear". The result has a word for each deadline: "40" the frame at 40 is now shown, "." no
/// change, "40-2" it is shown and two frames are dropped, ".-1" one is dropped.
class TimeLine {
  public:
    std::string play(const std::string& line) {
        std::istringstream words(line);
        std::string word;
        while (words >> word) {
            playWord(word);
        }
        return results_;
    }

  private:
    void playWord(const std::string& word) {
        if (word == "flush") {
            schedule_.flush();
        } else if (word == "clear") {
            schedule_.clear();
        } else if (word.front() == '+') {
            add(word.substr(1));
        } else {
            note(schedule_.advance({ms(std::stoll(word.substr(1))), word.front() == '>'}));
        }
    }

    void add(const std::string& frame) {
        const auto slash = frame.find('/');
        CMTime duration = ms(40);
        if (slash != std::string::npos) {
            const auto text = frame.substr(slash + 1);
            duration = text == "-" ? kCMTimeInvalid : ms(std::stoll(text));
        }
        const auto time = frame == "-" ? kCMTimeInvalid : ms(std::stoll(frame.substr(0, slash)));
        schedule_.add({time, duration, 1, nullptr});
    }

    void note(const FrameSchedule::Choice& choice) {
        std::string word = ".";
        if (choice.shownChanged) {
            const auto shown = schedule_.shown()->time;
            word = std::to_string(
                shown.convertScale(1000, CMTimeRoundingMethod::roundHalfAwayFromZero).value());
        }
        if (choice.dropped > 0) {
            word += "-" + std::to_string(choice.dropped);
        }
        results_ += (results_.empty() ? "" : " ") + word;
    }

    FrameSchedule schedule_;
    std::string results_;
};

struct Case {
    const char* name;
    const char* line;
    const char* results;
};

class FrameScheduleRules : public testing::TestWithParam<Case> {};

TEST_P(FrameScheduleRules, hold) {
    EXPECT_EQ(TimeLine().play(GetParam().line), GetParam().results);
}

INSTANTIATE_TEST_SUITE_P(
    Running, FrameScheduleRules,
    testing::Values(
        Case{"eachFrameIsShownAtItsTime", "+0 +40 +80 >0 >39 >40 >79 >80 >500", "0 . 40 . 80 ."},
        Case{"aFrameIsNotShownBeforeItsTime", "+40 >0 >39 >40", ". . 40"},
        Case{"theNewestDueFrameOvertakesOlderOnes", "+0 +40 +80 +120 >0 >130", "0 120-2"},
        Case{"aLateFrameIsShownWhenNothingNewerIsDue", "+0 >0 >90 +40 >100", "0 . 40"},
        Case{"framesAreOrderedByTime", "+80 +0 +40 >0 >40 >80", "0 40 80"},
        Case{"aFrameOlderThanTheShownOneIsDropped", "+0 +80 >0 >80 +40 >90 >100", "0 80 .-1 ."},
        Case{"ofTwoFramesAtATimeTheLaterOneWins", "+0 +0 >0", "0-1"},
        Case{"aSmallStepBackKeepsTheFrame", "+0 +40 +80 >40 >39 >80", "40-1 . 80"},
        Case{"aFlushKeepsTheImage", "+0 +40 >0 flush >40 +200 >41 >200", "0 . . 200"},
        Case{"aFrameWithoutATimeIsIgnored", "+- @0 >0 +40 >40", ". . 40"},
        Case{"afterAFlushAnOlderFrameMayBeShown", "+500 >500 flush +0 +40 >45", "500 40-1"}),
    test::caseName);

INSTANTIATE_TEST_SUITE_P(
    Stopped, FrameScheduleRules,
    testing::Values(
        Case{"theFirstFrameAfterAFlushIsShownAtOnce", "@0 +83 @0 +123 @0 @0", ". 83 . ."},
        Case{"theResultOfASeekIsShownThoughTheClockHasMovedOn",
             "+0 @0 @5000 flush +1000 @5000 @6000 +1040 +1080 @6000", "0 . 1000 . ."},
        Case{"aJumpShowsNothingOfTheOldPositionBeforeTheFlush",
             "+0 +40 +80 >0 @5000 +120 @5000 flush @5000 +5000 @5000", "0 . . . 5000"},
        Case{"aJumpWithinTheQueueShowsTheFrameThere", "+0 +40 +80 >0 @90", "0 80"},
        Case{"aBackwardJumpKeepsTheImageUntilTheFlush", "+1000 +1040 >1000 @0 flush +0 @0",
             "1000 . 0"},
        Case{"aClockAtTheEndShowsTheLastFrame", "+0 +40 >0 @80", "0 40"},
        Case{"ofFramesBeforeTheTargetTheOneThatCoversItIsShown", "+960 @1000 +1000 @1000",
             "960 1000"},
        Case{"aFrameOlderThanTheShownOneIsNotShown", "+0 +80 >0 >80 @90 +60 @90", "0 80 . ."},
        Case{"aPauseKeepsTheQueue", "+0 +40 +80 >0 @10 @10 >40 >80", "0 . . 40 80"},
        Case{"aFrameShownEarlyIsNotShownAgainAtItsTime", "+83 @0 +123 >83 >123", "83 . 123"},
        Case{"aFrameWithoutDurationLastsUntilTheNext", "+0 @0 +500/- +900/- @700", "0 500"},
        Case{"aLastFrameWithoutDurationIsNotShownForAJump", "+0 @0 +40/- @5000 >5000", "0 . 40"},
        Case{"aClearedImageIsNotShownAgain", "+0 @0 clear @0 +0 @0", "0 . 0"}),
    test::caseName);

/// The number of frames that can be added until the schedule is full.
std::size_t roomFor(FrameSchedule& schedule, std::size_t bytes, const CMTime& duration) {
    std::size_t count = 0;
    while (schedule.isReadyForMore() && count < 1000) {
        schedule.add({duration * static_cast<std::int64_t>(count++), duration, bytes, nullptr});
    }
    return count;
}

TEST(FrameSchedule, isFullByCountBytesOrSpanButNotBelowTheMinimum) {
    const FrameSchedule::Limits limits{10, 1000, CMTime(1, 1), 3};
    const auto room = [&](std::size_t bytes, const CMTime& duration) {
        FrameSchedule schedule(limits);
        return roomFor(schedule, bytes, duration);
    };
    EXPECT_EQ(room(1, ms(40)), 10U);
    EXPECT_EQ(room(200, ms(40)), 5U);
    EXPECT_EQ(room(1, ms(200)), 6U);
    EXPECT_EQ(room(100'000, ms(40)), 3U);
    EXPECT_EQ(room(1, ms(5000)), 3U);
}

TEST(FrameSchedule, hasRoomAgainWhenFramesAreShownOrFlushed) {
    FrameSchedule schedule({4, 400, CMTime(1, 1), 2});
    ASSERT_EQ(roomFor(schedule, 100, ms(40)), 4U);
    schedule.advance({ms(0), true});
    EXPECT_TRUE(schedule.isReadyForMore());
    schedule.add({ms(160), ms(40), 100, nullptr});
    ASSERT_FALSE(schedule.isReadyForMore());
    schedule.flush();
    EXPECT_EQ(roomFor(schedule, 100, ms(40)), 4U);
}

} // namespace
} // namespace zelvane
