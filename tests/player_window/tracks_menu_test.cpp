// SPDX-License-Identifier: GPL-3.0-or-later
#include "player_window/tracks/tracks_menu.h"

#include <gtest/gtest.h>

#include "media_player/media_source/external_subtitles_track.h"

namespace zelvane {
namespace {

MediaTrack::Facts facts(std::vector<std::string> languages,
                        std::optional<std::string> title = std::nullopt) {
    MediaTrack::Facts facts;
    facts.languageCodes = std::move(languages);
    facts.title = std::move(title);
    return facts;
}

std::shared_ptr<SubtitlesTrack> subtitles(std::vector<std::string> languages,
                                          std::optional<std::string> title = std::nullopt) {
    return std::make_shared<SubtitlesTrack>("source", facts(std::move(languages), std::move(title)),
                                            nullptr);
}

std::shared_ptr<AudioTrack> audio(std::vector<std::string> languages) {
    return std::make_shared<AudioTrack>("source", facts(std::move(languages)), nullptr);
}

std::shared_ptr<VideoTrack> video() {
    return std::make_shared<VideoTrack>(
        "source", facts({}), VideoDimensions(16, 16, std::nullopt, 1), std::nullopt, nullptr);
}

/// "Header: item, *checked item; …".
std::string asText(const std::vector<TracksMenuSection>& menu) {
    std::string text;
    for (const auto& section : menu) {
        text += text.empty() ? "" : "; ";
        text += std::string(section.header) + ":";
        for (const auto& item : section.items) {
            text += (item.isChecked ? " *" : " ") + item.title;
        }
    }
    return text;
}

TEST(TracksMenu, hasASectionForEachKindOfTrack) {
    const auto english = subtitles({"en"});
    const auto german = subtitles({"de"});
    const SourceTracks tracks{{video()}, {audio({"en"}), audio({"fr"})}, {english, german}};
    const SelectedTracks selected{tracks.video[0], tracks.audio[1], german, english};
    EXPECT_EQ(asText(tracksMenu(tracks, selected, "en")),
              "Video Tracks: *Unknown Language; Audio Tracks: English *French; "
              "Subtitle Tracks (Bottom): English *German; Subtitle Tracks (Top): *English German");
    EXPECT_EQ(asText(tracksMenu({{video()}, {}, {german}}, {}, "de")),
              "Video Tracks: Unknown Language; Subtitle Tracks: Deutsch");
    EXPECT_EQ(asText(tracksMenu({{}, {audio({"en"})}, {german}}, {}, "en")),
              "Audio Tracks: English");
    EXPECT_EQ(asText(tracksMenu({{}, {audio({}), audio({"en"}), audio({})}, {}}, {}, "en")),
              "Audio Tracks: Unknown Language (1) English Unknown Language (2)");
    EXPECT_EQ(asText(tracksMenu({}, {}, "en")), "");
}

TEST(TracksMenu, titlesNameLanguagesTitleAndOrigin) {
    EXPECT_EQ(trackTitle(*subtitles({"en", "zh-Hant"}), "en"), "English/Chinese");
    EXPECT_EQ(trackTitle(*subtitles({"x-none"}), "en"), "[x-none]");
    EXPECT_EQ(trackTitle(*subtitles({"qqq"}), "en"), "[qqq]");
    EXPECT_EQ(trackTitle(*subtitles({"de"}, "Signs"), "en"), "German: “Signs”");
    EXPECT_EQ(trackTitle(ExternalSubtitlesTrack(nullptr, subtitles({"de"})), "en"),
              "[Added] German");
}

TEST(TracksMenu, theCheckedItemDeselectsAndASubtitlesTrackIsAtOnePositionOnly) {
    const auto a = subtitles({"en"});
    const auto b = subtitles({"de"});
    const auto sound = audio({});
    const struct {
        TrackRole role;
        std::shared_ptr<MediaTrack> chosen;
        SelectedTracks before, after;
    } cases[] = {
        {TrackRole::audio, sound, {}, {.audio = sound}},
        {TrackRole::audio, sound, {.audio = sound}, {}},
        {TrackRole::audio, a, {.audio = sound}, {.audio = sound}},
        {TrackRole::audio, nullptr, {.audio = sound}, {.audio = sound}},
        {TrackRole::primarySubtitles, a, {}, {.primarySubtitles = a}},
        {TrackRole::primarySubtitles, a, {nullptr, nullptr, a, b}, {.secondarySubtitles = b}},
        {TrackRole::primarySubtitles, b, {nullptr, nullptr, a, b}, {.primarySubtitles = b}},
        {TrackRole::secondarySubtitles, a, {nullptr, nullptr, a, b}, {.secondarySubtitles = a}},
        {TrackRole::secondarySubtitles, b, {nullptr, nullptr, a, b}, {.primarySubtitles = a}},
    };
    for (const auto& given : cases) {
        EXPECT_EQ(selectionAfterChoosing(given.role, given.chosen, given.before), given.after);
    }
    const auto picture = video();
    EXPECT_EQ(selectionAfterChoosing(TrackRole::video, picture, {.video = picture}),
              (SelectedTracks{.video = picture}));
}

} // namespace
} // namespace zelvane
