// SPDX-License-Identifier: GPL-3.0-or-later
#include "player_window/subtitles_choice.h"

#include <gtest/gtest.h>

#include "media_player/media_source/external_subtitles_track.h"

namespace zelvane {
namespace {

class NoDecoder final : public SubtitlesFrameDecoder {
  public:
    std::vector<SubtitlesFrameRef> decode(const Packet& /*packet*/) override { return {}; }
    void flush() override {}
};

std::shared_ptr<SubtitlesTrack> makeTrack(std::vector<std::string> languages = {},
                                          std::optional<std::string> title = std::nullopt) {
    MediaTrack::Facts facts;
    facts.languageCodes = std::move(languages);
    facts.title = std::move(title);
    return std::make_shared<SubtitlesTrack>("source", facts, std::make_unique<NoDecoder>());
}

TEST(NextSubtitlesTrack, goesThroughAllAndThenNone) {
    const SubtitlesTracks tracks{makeTrack(), makeTrack(),
                                 std::make_shared<ExternalSubtitlesTrack>(nullptr, makeTrack())};
    SubtitlesTrackRef current;
    for (const SubtitlesTrackRef& expected :
         {tracks[0], tracks[1], tracks[2], SubtitlesTrackRef(), tracks[0]}) {
        current = nextSubtitlesTrack(tracks, current, nullptr);
        EXPECT_EQ(current, expected);
    }
    EXPECT_EQ(nextSubtitlesTrack({}, nullptr, nullptr), nullptr);
    EXPECT_EQ(nextSubtitlesTrack(tracks, makeTrack(), nullptr), nullptr);
}

TEST(NextSubtitlesTrack, leavesOutWhatIsShownAtTheOtherPosition) {
    const SubtitlesTracks tracks{makeTrack(), makeTrack(), makeTrack()};
    EXPECT_EQ(nextSubtitlesTrack(tracks, nullptr, tracks[0]), tracks[1]);
    EXPECT_EQ(nextSubtitlesTrack(tracks, tracks[0], tracks[1]), tracks[2]);
    EXPECT_EQ(nextSubtitlesTrack(tracks, tracks[1], tracks[2]), nullptr);
    EXPECT_EQ(nextSubtitlesTrack({tracks[0]}, nullptr, tracks[0]), nullptr);
}

TEST(FreePosition, anAddedTrackNeverTakesThePlaceOfAnother) {
    const auto added = makeTrack();
    const auto other = makeTrack();
    const auto third = makeTrack();
    const struct {
        SubtitlesTrackRef primary;
        SubtitlesTrackRef secondary;
        std::optional<SubtitlesPosition> position;
    } cases[] = {
        {nullptr, nullptr, SubtitlesPosition::primary},
        {nullptr, other, SubtitlesPosition::primary},
        {other, nullptr, SubtitlesPosition::secondary},
        {other, third, std::nullopt},
        {added, nullptr, std::nullopt},
        {nullptr, added, std::nullopt},
        {other, added, std::nullopt},
    };
    for (const auto& given : cases) {
        EXPECT_EQ(freePositionFor(added, given.primary, given.secondary), given.position);
    }
}

TEST(SubtitlesTrackName, isItsLanguagesAndItsTitle) {
    EXPECT_EQ(subtitlesTrackName(*makeTrack({"en"})), "English");
    EXPECT_EQ(subtitlesTrackName(*makeTrack({"en", "zh-Hant"})), "English/Chinese");
    EXPECT_EQ(subtitlesTrackName(*makeTrack({"x-none"})), "[x-none]");
    EXPECT_EQ(subtitlesTrackName(*makeTrack()), "Unknown Language");
    EXPECT_EQ(subtitlesTrackName(*makeTrack({"de"}, "Signs")), QString("German: “Signs”"));
    EXPECT_EQ(subtitlesTrackName(ExternalSubtitlesTrack(nullptr, makeTrack({"de"}))),
              "[Added] German");
}

} // namespace
} // namespace zelvane
