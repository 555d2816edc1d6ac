// SPDX-License-Identifier: GPL-3.0-or-later
#include "media_player/playback/default_track_selection.h"

#include <algorithm>
#include <sstream>

#include <gtest/gtest.h>

#include "tests/media_player/playback/playback_fakes.h"

namespace zelvane::test {
namespace {

std::vector<std::string> split(const std::string& text, char separator) {
    std::vector<std::string> parts;
    std::istringstream stream(text);
    for (std::string part; std::getline(stream, part, separator);) {
        parts.push_back(part);
    }
    return parts;
}

/// "en,fr:default:forced", the languages first; "-" for none.
MediaTrack::Facts factsFrom(const std::string& text) {
    const auto words = split(text, ':');
    MediaTrack::Facts facts;
    if (words[0] != "-") {
        facts.languageCodes = split(words[0], ',');
    }
    const auto has = [&](const char* word) {
        return std::find(words.begin() + 1, words.end(), word) != words.end();
    };
    facts.isDefault = has("default");
    facts.isForced = has("forced");
    if (has("described")) {
        facts.mediaCharacteristics.insert(MediaCharacteristics::describesVideoForAccessibility);
    }
    if (has("dialog")) {
        facts.mediaCharacteristics.insert(
            MediaCharacteristics::transcribesSpokenDialogForAccessibility);
    }
    if (has("sounds")) {
        facts.mediaCharacteristics.insert(
            MediaCharacteristics::describesMusicAndSoundForAccessibility);
    }
    return facts;
}

template <class Track, class Make>
std::vector<std::shared_ptr<Track>> tracksFrom(const std::string& text, Make make) {
    std::vector<std::shared_ptr<Track>> tracks;
    for (const std::string& word : split(text, ' ')) {
        tracks.push_back(make(factsFrom(word)));
    }
    return tracks;
}

template <class Track>
int indexOf(const std::vector<std::shared_ptr<Track>>& tracks,
            const std::shared_ptr<Track>& track) {
    const auto found = std::find(tracks.begin(), tracks.end(), track);
    return track ? static_cast<int>(found - tracks.begin()) : -1;
}

struct Case {
    std::string audio;
    std::string subtitles;
    std::string languages;
    /// The accessibility preferences: "described", "dialog", "sounds".
    std::string needs;
    int audioIndex;
    int primaryIndex;
    int secondaryIndex;
};

class DefaultTrackSelectionTest : public testing::TestWithParam<Case> {};

TEST_P(DefaultTrackSelectionTest, choosesTheTracks) {
    const Case& c = GetParam();
    const auto audio = tracksFrom<AudioTrack>(c.audio, [](MediaTrack::Facts facts) {
        return std::make_shared<AudioTrack>("s", std::move(facts), std::make_unique<FakeDecoder>());
    });
    const auto subtitles = tracksFrom<SubtitlesTrack>(c.subtitles, [](MediaTrack::Facts facts) {
        return std::make_shared<SubtitlesTrack>("s", std::move(facts),
                                                std::make_unique<FakeSubtitlesDecoder>());
    });
    const MediaCharacteristics needs = factsFrom("-:" + c.needs).mediaCharacteristics;
    const TrackSelection selection =
        selectDefaultTracks({}, audio, subtitles, {split(c.languages, ' '), needs, needs});
    EXPECT_EQ(selection.video, nullptr);
    EXPECT_EQ(indexOf(audio, selection.audio), c.audioIndex);
    EXPECT_EQ(indexOf(subtitles, selection.primarySubtitles), c.primaryIndex);
    EXPECT_EQ(indexOf(subtitles, selection.secondarySubtitles), c.secondaryIndex);
}

INSTANTIATE_TEST_SUITE_P(
    rules, DefaultTrackSelectionTest,
    testing::Values(
        Case{"", "", "en", "", -1, -1, -1}, Case{"- -", "", "en", "", 0, -1, -1},
        Case{"- -:default", "", "en", "", 1, -1, -1},
        // The first preferred language that any track has wins, whatever the tracks' order.
        Case{"fr de en", "", "de en", "", 1, -1, -1},
        Case{"fr en de,fr", "", "de en", "", 2, -1, -1}, Case{"fr en-US", "", "en", "", 0, -1, -1},
        Case{"en:default fr en:forced", "", "en", "", 2, -1, -1},
        Case{"en:forced en:forced:default", "", "en", "", 1, -1, -1},
        // Subtitles only where the sound is in no preferred language.
        Case{"en", "en", "en", "", 0, -1, -1}, Case{"fr", "fr en de", "en", "", 0, 1, -1},
        Case{"fr", "fr de", "en", "", 0, -1, -1}, Case{"", "en", "en", "", -1, 0, -1},
        Case{"fr", "en:default en:default:forced", "en", "", 0, 1, -1},
        // Sound that describes the picture is preferred, in the language, but not required.
        Case{"en en:described fr:described", "", "en", "described", 1, -1, -1},
        Case{"en fr:described", "", "en", "described", 0, -1, -1},
        // Accessibility subtitles are selected even if the language of the sound matches.
        Case{"en", "en en:dialog", "en", "dialog", 0, 1, -1},
        Case{"en", "en fr:dialog", "en", "dialog", 0, -1, -1},
        Case{"fr", "en fr:dialog", "en", "dialog", 0, 0, -1},
        Case{"en", "en fr:dialog", "en fr", "dialog", 0, -1, -1},
        Case{"en", "en:sounds", "en", "sounds", 0, 0, -1},
        Case{"en", "en:sounds en:dialog", "en", "dialog:sounds", 0, 1, 0},
        Case{"en", "en:sounds en:dialog:sounds", "en", "dialog:sounds", 0, 1, -1},
        Case{"en", "en:sounds", "en", "dialog:sounds", 0, 0, -1}));

TEST(DefaultTrackSelection, theVideoMatchesTheLanguageElseIsTheDefault) {
    const auto videos = tracksFrom<VideoTrack>("- fr -:default", [](MediaTrack::Facts facts) {
        return std::make_shared<VideoTrack>("s", std::move(facts),
                                            VideoDimensions(4, 4, std::nullopt, 1), std::nullopt,
                                            std::make_unique<FakeDecoder>());
    });
    EXPECT_EQ(selectDefaultTracks(videos, {}, {}, {{"fr"}, {}, {}}).video, videos[1]);
    EXPECT_EQ(selectDefaultTracks(videos, {}, {}, {{"en"}, {}, {}}).video, videos[2]);
}

} // namespace
} // namespace zelvane::test
