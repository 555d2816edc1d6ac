// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include "platform/mpris/mpris_properties.h"

namespace zelvane {
namespace {

using std::chrono::milliseconds;

PublishedState stateAt(milliseconds when, double elapsed, float rate, const char* medium = "a") {
    NowPlayingInfo info;
    info.externalContentIdentifier = medium;
    info.playbackDuration = 10;
    info.elapsedPlaybackTime = elapsed;
    info.playbackRate = rate;
    return {.info = info, .time = when};
}

TEST(MprisPosition, followsTheRateWithinTheMedium) {
    const struct {
        float rate;
        double elapsed;
        milliseconds passed;
        qlonglong position;
    } cases[] = {
        {0, 3, milliseconds(500), 3'000'000}, {1, 3, milliseconds(500), 3'500'000},
        {2, 3, milliseconds(500), 4'000'000}, {1, 9.75, milliseconds(500), 10'000'000},
        {0, -0.5, milliseconds(0), 0},        {0, std::nan(""), milliseconds(0), 0},
    };
    for (const auto& expected : cases) {
        const auto state = stateAt(milliseconds(1000), expected.elapsed, expected.rate);
        EXPECT_EQ(mprisPositionAt(state, milliseconds(1000) + expected.passed), expected.position);
    }
    EXPECT_EQ(mprisPositionAt({}, milliseconds(0)), 0);
}

TEST(MprisPosition, jumpsWhereItDoesNotFollowTheRate) {
    const auto playing = stateAt(milliseconds(0), 3, 1);
    const auto paused = stateAt(milliseconds(0), 3, 0);
    const struct {
        const char* name;
        PublishedState old;
        PublishedState now;
        bool jumps;
    } cases[] = {
        {"plays on", playing, stateAt(milliseconds(1000), 4.04, 1), false},
        {"pauses", playing, stateAt(milliseconds(1000), 3.96, 0), false},
        {"starts", paused, stateAt(milliseconds(1000), 3.0, 1), false},
        {"is sought while it plays", playing, stateAt(milliseconds(1000), 4.2, 1), true},
        {"is sought back while it plays", playing, stateAt(milliseconds(1000), 3.8, 1), true},
        {"steps", paused, stateAt(milliseconds(1000), 3.04, 0), true},
        {"rests", paused, stateAt(milliseconds(1000), 3, 0), false},
        {"is another medium", paused, stateAt(milliseconds(0), 8, 0, "b"), false},
        {"has ended", playing, {}, false},
        {"is the first", {}, playing, false},
    };
    for (const auto& expected : cases) {
        EXPECT_EQ(mprisPositionDidJump(expected.old, expected.now), expected.jumps)
            << expected.name;
    }
}

} // namespace
} // namespace zelvane
