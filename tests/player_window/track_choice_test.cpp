// SPDX-License-Identifier: GPL-3.0-or-later
#include "player_window/player/track_choice.h"

#include <gtest/gtest.h>

#include "tests/player_window/tracks_test_support.h"

namespace zelvane {
namespace {

using TrackRef = std::shared_ptr<SubtitlesTrack>;

TEST(TrackChoice, subtitlesCycleThroughAllAndNoneWithoutTheOtherPosition) {
    const SubtitlesTracks tracks{test::subtitlesTrack("a"), test::subtitlesTrack("b"),
                                 test::subtitlesTrack("c")};
    const auto& a = tracks[0];
    const auto& b = tracks[1];
    const auto& c = tracks[2];
    const struct {
        TrackRef current, other, next;
    } cases[] = {
        {nullptr, nullptr, a},
        {a, nullptr, b},
        {c, nullptr, nullptr},
        {nullptr, a, b},
        {a, b, c},
        {b, c, nullptr},
        {c, a, nullptr},
        {b, a, c},
        {test::subtitlesTrack("elsewhere"), nullptr, nullptr},
    };
    for (const auto& given : cases) {
        SelectedTracks selected;
        selected.primarySubtitles = given.current;
        selected.secondarySubtitles = given.other;
        const auto after =
            selectionAfterCyclingSubtitles(SubtitlesPosition::primary, tracks, selected);
        EXPECT_EQ(after.primarySubtitles, given.next);
        EXPECT_EQ(after.secondarySubtitles, given.other);
        std::swap(selected.primarySubtitles, selected.secondarySubtitles);
        const auto mirrored =
            selectionAfterCyclingSubtitles(SubtitlesPosition::secondary, tracks, selected);
        EXPECT_EQ(mirrored.secondarySubtitles, given.next);
    }
}

TEST(TrackChoice, soundCyclesWithoutSilence) {
    const std::vector<std::shared_ptr<AudioTrack>> tracks{test::audioTrack("a"),
                                                          test::audioTrack("b")};
    const auto next = [&](const std::shared_ptr<AudioTrack>& current) {
        return selectionAfterCyclingAudio(tracks, {.audio = current}).audio;
    };
    EXPECT_EQ(next(nullptr), tracks[0]);
    EXPECT_EQ(next(tracks[0]), tracks[1]);
    EXPECT_EQ(next(tracks[1]), tracks[0]);
    EXPECT_EQ(selectionAfterCyclingAudio({}, {}).audio, nullptr);
}

TEST(TrackChoice, anAddedTrackTakesAFreePositionAndReplacesNothing) {
    const auto added = test::subtitlesTrack("added");
    const auto other = test::subtitlesTrack("other");
    const auto third = test::subtitlesTrack("third");
    const struct {
        TrackRef primary, secondary, primaryAfter, secondaryAfter;
    } cases[] = {
        {nullptr, nullptr, added, nullptr}, {nullptr, other, added, other},
        {other, nullptr, other, added},     {other, third, other, third},
        {added, nullptr, added, nullptr},   {nullptr, added, nullptr, added},
        {other, added, other, added},
    };
    for (const auto& given : cases) {
        const SelectedTracks before{nullptr, nullptr, given.primary, given.secondary};
        const SelectedTracks after{nullptr, nullptr, given.primaryAfter, given.secondaryAfter};
        EXPECT_EQ(selectionAfterAdding(added, before), after);
    }
}

} // namespace
} // namespace zelvane
