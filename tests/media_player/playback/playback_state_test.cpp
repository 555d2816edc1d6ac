// SPDX-License-Identifier: GPL-3.0-or-later
#include "media_player/playback/playback_state.h"

#include <functional>
#include <map>
#include <sstream>

#include <fmt/format.h>
#include <gtest/gtest.h>

#include "tests/media_player/playback/playback_fakes.h"
#include "tests/support/case_name.h"

namespace zelvane::test {
namespace {

/// A state, and the clock that its actions move. Times in milliseconds.
class Player {
  public:
    Player(std::int64_t duration, std::int64_t time) : state_(ms(duration)), clock_{0, ms(time)} {}

    /// The event, its actions and the rate after it: "seek 9: clock 0 @9, seek 9 x2 [1]" for a seek
    /// that stops the clock at 9 and starts in the providers, with two completions, at a rate of 1.
    std::string run(const std::string& event) {
        std::istringstream words(event);
        std::string name;
        double value = 0;
        words >> name >> value;
        std::string text;
        for (const auto& action : handlers_.at(name)(value)) {
            text += (text.empty() ? "" : ", ") +
                    std::visit([this](const auto& each) { return perform(each); }, action);
        }
        return fmt::format("{}: {}{}[{:g}]", event, text, text.empty() ? "" : " ",
                           state_.rate(clock_));
    }

  private:
    using Handler = std::function<PlaybackState::Actions(double)>;

    static CMTime time(double value) { return ms(static_cast<std::int64_t>(value)); }
    std::string perform(const PlaybackState::SetClockRate& action) {
        clock_ = {action.rate, action.time.value_or(clock_.time)};
        return fmt::format("clock {:g}{}", action.rate,
                           action.time ? fmt::format(" @{}", inMilliseconds(*action.time)) : "");
    }
    static std::string perform(const PlaybackState::StartSeek& action) {
        return fmt::format("seek {} x{}", inMilliseconds(action.operation.targetTime),
                           action.operation.completionHandlers.size());
    }
    static std::string perform(const PlaybackState::ReportRate& /*action*/) { return "report"; }

    PlaybackState state_;
    PlaybackState::Clock clock_;
    const std::map<std::string, Handler> handlers_{
        {"play", [this](double) { return state_.play(clock_); }},
        {"pause", [this](double) { return state_.pause(); }},
        {"desire",
         [this](double rate) {
             return state_.setDesiredPlaybackRate(static_cast<float>(rate), clock_);
         }},
        {"seek",
         [this](double target) {
             return state_.seek(time(target), SeekOperation::CompletionHandlerInfo{}, clock_);
         }},
        {"done", [this](double) { return state_.providersDidSeek(clock_); }},
        {"press", [this](double) { return state_.beginInteractiveSeeking(clock_); }},
        {"release", [this](double) { return state_.endInteractiveSeeking(clock_); }},
        {"end",
         [this](double reached) {
             clock_.time = time(reached);
             return state_.clockDidReachEnd();
         }},
        {"outside",
         [this](double rate) {
             clock_.rate = static_cast<float>(rate);
             return state_.clockRateDidChange(clock_.rate);
         }},
    };
};

struct Scenario {
    const char* name;
    /// What Player::run() answers to its own events.
    std::string transcript;
    std::int64_t duration = 400;
    std::int64_t begin = 0;
};

class PlaybackStateTest : public testing::TestWithParam<Scenario> {};

TEST_P(PlaybackStateTest, answersEachEvent) {
    Player player(GetParam().duration, GetParam().begin);
    std::istringstream steps(GetParam().transcript);
    for (std::string step; std::getline(steps >> std::ws, step, ';');) {
        EXPECT_EQ(player.run(step.substr(0, step.find(':'))), step);
    }
}

INSTANTIATE_TEST_SUITE_P(
    scenarios, PlaybackStateTest,
    testing::Values(
        Scenario{"playAndPause", "play: clock 1, report [1]; pause: clock 0, report [0]"},
        Scenario{"theDesiredRateAppliesAtOnceOnlyWhilePlaying",
                 "desire 1.5: [0]; play: clock 1.5, report [1.5]; "
                 "desire 0.5: clock 0.5, report [0.5]"},
        Scenario{"mediaWithoutADurationDoesNotPlay", "play: report [0]", 0},
        Scenario{"playAtTheEndStartsAgain",
                 "play: clock 0 @0, seek 0 x0, report [1]; done: clock 1 [1]", 400, 400},
        Scenario{"aSeekKeepsTheRateAndClampsItsTarget",
                 "seek -10: clock 0 @0, seek 0 x1 [0]; done: clock 0 [0]; "
                 "play: clock 1, report [1]; seek 100: clock 0 @100, seek 100 x1 [1]; "
                 "done: clock 1 [1]; seek 500: clock 0 @400, seek 400 x1 [1]; "
                 "done: clock 0 @400, report [0]"},
        Scenario{"aBurstOfSeeksRunsTheFirstAndTheLast",
                 "play: clock 1, report [1]; seek 10: clock 0 @10, seek 10 x1 [1]; "
                 "seek 20: clock 0 @20 [1]; seek 30: clock 0 @30 [1]; done: seek 30 x2 [1]; "
                 "done: clock 1 [1]"},
        Scenario{"playAndPauseDuringASeekHoldAfterIt",
                 "seek 40: clock 0 @40, seek 40 x1 [0]; play: report [1]; pause: report [0]; "
                 "desire 2: [0]; play: report [2]; desire 3: report [3]; done: clock 3 [3]"},
        Scenario{"aChangeFromOutsideIsReported", "outside 1: report [1]; outside 0: report [0]"},
        Scenario{"aChangeFromOutsideDuringASeekIsTheRateAfterIt",
                 "seek 40: clock 0 @40, seek 40 x1 [0]; outside 0.75: clock 0, report [0.75]; "
                 "done: clock 0.75 [0.75]; seek 80: clock 0 @80, seek 80 x1 [0.75]; "
                 "outside 0: clock 0, report [0]; done: clock 0 [0]"},
        Scenario{"aDragHoldsTheClock",
                 "play: clock 1, report [1]; press: clock 0 [1]; "
                 "seek 40: clock 0 @40, seek 40 x1 [1]; done: [1]; "
                 "seek 80: clock 0 @80, seek 80 x1 [1]; done: [1]; release: clock 1 [1]; "
                 "release: [1]"},
        Scenario{"aDragThatEndsDuringASeekRestartsTheClockAfterIt",
                 "play: clock 1, report [1]; press: clock 0 [1]; "
                 "seek 40: clock 0 @40, seek 40 x1 [1]; release: [1]; done: clock 1 [1]"},
        Scenario{"aDragThatBeginsDuringASeekKeepsTheRateFromBeforeIt",
                 "play: clock 1, report [1]; seek 40: clock 0 @40, seek 40 x1 [1]; "
                 "press: clock 0 [1]; done: [1]; release: clock 1 [1]"},
        Scenario{"aDragToTheEndStopsThere",
                 "press: clock 0 [0]; seek 400: clock 0 @400, seek 400 x1 [0]; done: [0]; "
                 "play: report [1]; release: clock 0 @400, report [0]"},
        Scenario{"theEndStopsTheClockExactlyThere",
                 "play: clock 1, report [1]; end 430: clock 0 @400, report [0]"},
        Scenario{"anEndThatASeekOvertakesIsIgnored",
                 "play: clock 1, report [1]; seek 80: clock 0 @80, seek 80 x1 [1]; end 80: [1]; "
                 "done: clock 1 [1]"}),
    caseName);

} // namespace
} // namespace zelvane::test
