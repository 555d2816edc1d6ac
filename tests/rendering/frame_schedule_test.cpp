// SPDX-License-Identifier: GPL-3.0-or-later
#include "rendering/frame_schedule.h"

#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/rendering/rendering_fakes.h"

namespace zelvane {
namespace {

using test::ms;

/// Plays a line of time and writes down what comes of it. Words, times in milliseconds:
/// "+40" a frame at 40 that lasts 40, "+40/20" one that lasts 20, "+40/-" one of unknown duration,
/// "@50" the clock stands at 50, ">50" it runs and is at 50, "flush" and "clear".
/// The answer has a word for each deadline: "40" the frame at 40 is shown anew, "." nothing
/// changes, "40-2" it is shown and two frames are dropped, ".-1" one is dropped and nothing else
/// changes.
class TimeLine {
  public:
    std::string play(const std::string& line) {
        std::istringstream words(line);
        std::string word;
        while (words >> word) {
            playWord(word);
        }
        return answer_;
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
        schedule_.add({ms(std::stoll(frame.substr(0, slash))), duration, 1, nullptr});
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
        answer_ += (answer_.empty() ? "" : " ") + word;
    }

    FrameSchedule schedule_;
    std::string answer_;
};

struct Case {
    const char* rule;
    const char* line;
    const char* answer;
};

std::string ruleOf(const testing::TestParamInfo<Case>& info) {
    return info.param.rule;
}

class FrameScheduleRules : public testing::TestWithParam<Case> {};

TEST_P(FrameScheduleRules, hold) {
    EXPECT_EQ(TimeLine().play(GetParam().line), GetParam().answer);
}

INSTANTIATE_TEST_SUITE_P(
    Running, FrameScheduleRules,
    testing::Values(
        Case{"eachFrameIsShownWhenItsTimeComes", "+0 +40 +80 >0 >39 >40 >79 >80 >500",
             "0 . 40 . 80 ."},
        Case{"aFrameIsNotShownBeforeItsTime", "+40 >0 >39 >40", ". . 40"},
        Case{"theNewestDueFrameOvertakesOlderOnes", "+0 +40 +80 +120 >0 >130", "0 120-2"},
        Case{"aLateFrameIsShownWhenNothingNewerIsDue", "+0 >0 >90 +40 >100", "0 . 40"},
        Case{"framesAreOrderedByTimeWhateverTheirOrderOfComing", "+80 +0 +40 >0 >40 >80",
             "0 40 80"},
        Case{"aFrameOlderThanTheShownOneIsDropped", "+0 +80 >0 >80 +40 >90 >100", "0 80 .-1 ."},
        Case{"ofTwoFramesAtATimeTheLaterOneWins", "+0 +0 >0", "0-1"},
        Case{"timeThatStepsBackALittleKeepsTheFrame", "+0 +40 +80 >40 >39 >80", "40-1 . 80"},
        Case{"aFlushKeepsTheImageAndGoesOn", "+0 +40 >0 flush >40 +200 >41 >200", "0 . . 200"},
        Case{"afterAFlushAnOlderFrameMayBeShown", "+500 >500 flush +0 +40 >45", "500 40-1"}),
    ruleOf);

INSTANTIATE_TEST_SUITE_P(
    Standing, FrameScheduleRules,
    testing::Values(
        Case{"theFirstFrameAfterAFlushIsShownAtOnce", "@0 +83 @0 +123 @0 @0", ". 83 . ."},
        Case{"theFrameThatAnswersASeekIsShownThoughTheClockHasJumpedOn",
             "+0 @0 @5000 flush +1000 @5000 @6000 +1040 +1080 @6000", "0 . 1000 . ."},
        Case{"aJumpShowsNothingOfTheOldPositionBeforeTheFlush",
             "+0 +40 +80 >0 @5000 +120 @5000 flush @5000 +5000 @5000", "0 . . . 5000"},
        Case{"aJumpWithinTheQueueShowsTheFrameThere", "+0 +40 +80 >0 @90", "0 80"},
        Case{"aBackwardJumpKeepsTheImageUntilTheFlush", "+1000 +1040 >1000 @0 flush +0 @0",
             "1000 . 0"},
        Case{"aPinAtTheEndKeepsTheLastFrame", "+0 +40 >0 @80", "0 40"},
        Case{"ofFramesBeforeTheTargetTheOneThatCoversItIsShown", "+960 @1000 +1000 @1000",
             "960 1000"},
        Case{"aFrameOlderThanTheShownOneStaysBehindIt", "+0 +80 >0 >80 @90 +60 @90", "0 80 . ."},
        Case{"aPauseKeepsTheQueue", "+0 +40 +80 >0 @10 @10 >40 >80", "0 . . 40 80"},
        Case{"whatWasShownAheadIsNotShownAgainWhenItsTimeComes", "+83 @0 +123 >83 >123",
             "83 . 123"},
        Case{"aFrameWithoutDurationLastsUntilTheNext", "+0 @0 +500/- +900/- @700", "0 500"},
        Case{"anEndlessLastFrameDoesNotAnswerAJump", "+0 @0 +40/- @5000 >5000", "0 . 40"},
        Case{"aClearedImageIsNotShownAgain", "+0 @0 clear @0 +0 @0", "0 . 0"}),
    ruleOf);

TEST(FrameSchedule, clearForgetsTheImageAndFlushKeepsIt) {
    FrameSchedule schedule;
    schedule.add({ms(0), ms(40), 1, nullptr});
    schedule.advance({ms(0), false});
    schedule.flush();
    ASSERT_TRUE(schedule.shown());
    schedule.clear();
    EXPECT_FALSE(schedule.shown());
}

/// How many frames go in until the schedule wants no more.
std::size_t roomFor(FrameSchedule& schedule, std::size_t bytes, const CMTime& duration) {
    std::size_t count = 0;
    while (schedule.isReadyForMore() && count < 1000) {
        schedule.add({duration * static_cast<std::int64_t>(count++), duration, bytes, nullptr});
    }
    return count;
}

TEST(FrameSchedule, isFullByCountBytesOrSpanButNeverBelowAHandful) {
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

TEST(FrameSchedule, hasRoomAgainOnceFramesAreShownOrFlushed) {
    FrameSchedule schedule({4, 400, CMTime(1, 1), 2});
    ASSERT_EQ(roomFor(schedule, 100, ms(40)), 4U);
    schedule.advance({ms(0), true});
    EXPECT_TRUE(schedule.isReadyForMore());
    schedule.add({ms(160), ms(40), 100, nullptr});
    ASSERT_FALSE(schedule.isReadyForMore());
    schedule.flush();
    EXPECT_EQ(roomFor(schedule, 100, ms(40)), 4U);
}

TEST(FrameSchedule, aFrameWithoutATimeIsNotTaken) {
    FrameSchedule schedule;
    schedule.add({kCMTimeInvalid, ms(40), 1, nullptr});
    schedule.add({kCMTimePositiveInfinity, ms(40), 1, nullptr});
    EXPECT_EQ(schedule.next(), nullptr);
    EXPECT_FALSE(schedule.advance({ms(0), false}).shownChanged);
}

} // namespace
} // namespace zelvane
