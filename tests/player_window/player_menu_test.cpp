// SPDX-License-Identifier: GPL-3.0-or-later
#include "player_window/player/player_menu.h"

#include <algorithm>
#include <set>

#include <gtest/gtest.h>

#include "tests/player_window/tracks_test_support.h"

namespace zelvane {
namespace {

/// "Title <key>, *checked, (disabled), |, Submenu[…]".
std::string asText(const std::vector<MenuEntry>& entries) {
    std::string text;
    for (const MenuEntry& entry : entries) {
        std::string one = entry.isEnabled ? "" : "(";
        one += entry.isChecked ? "*" : "";
        one += entry.title.isEmpty() ? "|" : entry.title.toStdString();
        one += entry.isEnabled ? "" : ")";
        one += entry.key.isEmpty() ? "" : " <" + entry.key.toString().toStdString() + ">";
        one += entry.children.empty() ? "" : "[" + asText(entry.children) + "]";
        text += text.empty() ? one : ", " + one;
    }
    return text;
}

std::string submenuOf(const std::vector<MenuEntry>& menu, const QString& title) {
    for (const MenuEntry& entry : menu) {
        if (entry.title == title) {
            return (entry.isEnabled ? "" : "disabled ") + asText(entry.children);
        }
    }
    return "none";
}

/// The menu without the contents of its submenus.
std::string outlineOf(std::vector<MenuEntry> menu) {
    for (MenuEntry& entry : menu) {
        entry.children.clear();
    }
    return asText(menu);
}

PlayerMenuState filmState() {
    PlayerMenuState state;
    state.tracks = {{test::videoTrack("v")},
                    {test::audioTrack("a")},
                    {test::subtitlesTrack("s"), test::subtitlesTrack("t")}};
    state.selectedTracks = {state.tracks.video[0], nullptr, state.tracks.subtitles[0], nullptr};
    state.displayLanguage = "en";
    return state;
}

TEST(PlayerMenu, aFilmHasItsWholeMenu) {
    EXPECT_EQ(outlineOf(playerMenu(filmState(), {})),
              "Open… <Ctrl+O>, (Open Recent), |, Play <Space>, Jump Back <Left>, "
              "Jump Forward <Right>, Playback, Speed, Sound, Tracks, Subtitles, |, "
              "Take Screenshot <S>, Enter Full Screen <F>, |, Keyboard Shortcuts <Ctrl+/>, "
              "About Zelvane Player, |, Close <Ctrl+W>, Quit <Ctrl+Q>");
}

TEST(PlayerMenu, chaptersAreListedWithTheirTimes) {
    PlayerMenuState state = filmState();
    state.chapters = {{CMTime(0, 1), "Ice"}, {CMTime(75, 1), ""}};
    state.chapter = 1;
    EXPECT_EQ(submenuOf(playerMenu(state, {}), "Chapters"),
              "Previous Chapter <PgUp>, Next Chapter <PgDown>, |, Ice — 00:00, "
              "*Chapter 2 — 01:15");
    EXPECT_EQ(submenuOf(playerMenu(filmState(), {}), "Chapters"), "none");
}

TEST(PlayerMenu, soundAloneHasNoItemsOfPictures) {
    PlayerMenuState state;
    state.tracks.audio = {test::audioTrack("a")};
    state.isPlaying = true;
    EXPECT_EQ(outlineOf(playerMenu(state, {})),
              "Open… <Ctrl+O>, (Open Recent), |, Pause <Space>, Jump Back <Left>, "
              "Jump Forward <Right>, Playback, Speed, Sound, |, Keyboard Shortcuts <Ctrl+/>, "
              "About Zelvane Player, |, Close <Ctrl+W>, Quit <Ctrl+Q>");
    EXPECT_EQ(submenuOf(playerMenu(state, {}), "Playback").find("Frame"), std::string::npos);
    const std::string speeds = "(Speed), 0.5×, 0.75×, *1×, 1.25×, 1.5×, 1.75×, 2×";
    EXPECT_EQ(asText(soundTracksMenu(state)), speeds);
    state.tracks.audio.push_back(test::audioTrack("b"));
    EXPECT_EQ(asText(soundTracksMenu(state)),
              "(Audio Tracks), Unknown Language (1), Unknown Language (2), |, " + speeds);
    EXPECT_EQ(submenuOf(playerMenu(state, {}), "Tracks").find("(Audio Tracks), "), 0U);
}

TEST(PlayerMenu, submenusShowTheStateOfThePlayer) {
    PlayerMenuState state = filmState();
    state.rate = 1.3F;
    state.isMuted = true;
    state.isFullScreen = true;
    state.isAddingSubtitles = true;
    const auto menu = playerMenu(state, {});
    EXPECT_EQ(submenuOf(menu, "Speed"), "0.5×, 0.75×, 1×, *1.25×, 1.5×, 1.75×, 2×, |, Faster <]>, "
                                        "Slower <[>, Normal Speed <Backspace>");
    EXPECT_EQ(submenuOf(menu, "Sound"), "Louder <Up>, Quieter <Down>, *Mute <M>");
    EXPECT_EQ(submenuOf(menu, "Tracks"), "(Video Tracks), *Unknown Language, |, (Audio Tracks), "
                                         "Unknown Language");
    EXPECT_EQ(
        submenuOf(menu, "Subtitles"),
        "(Subtitle Tracks (Bottom)), *Unknown Language (1), Unknown Language (2), |, "
        "(Subtitle Tracks (Top)), Unknown Language (1), Unknown Language (2), |, (Add Subtitles…)");
    EXPECT_NE(asText(menu).find("Leave Full Screen <F>"), std::string::npos);
    state.tracks.subtitles.clear();
    state.isAddingSubtitles = false;
    EXPECT_EQ(submenuOf(playerMenu(state, {}), "Subtitles"), "Add Subtitles…");
}

ApplicationMenuState applicationState() {
    return {.recentFiles = {URL::fromPath("/a/film.mkv"), URL::fromPath("/b/film.mkv"),
                            URL::fromPath("/a/song.ogg")},
            .windows = {{1, "One"}, {7, "Two", true}},
            .hasPreferences = true};
}

TEST(PlayerMenu, offersRecentFilesOtherWindowsAndPreferences) {
    const auto menu = playerMenu(filmState(), applicationState());
    EXPECT_EQ(submenuOf(menu, "Open Recent"),
              "film.mkv — a, film.mkv — b, song.ogg, |, Clear Recent Files");
    EXPECT_EQ(submenuOf(menu, "Window"), "Minimize, Enter Full Screen <F>, |, One, *Two");
    EXPECT_NE(outlineOf(menu).find("Window, Preferences… <Ctrl+,>, Keyboard"), std::string::npos);
    const auto& recent = menu.at(1).children.at(1).command;
    EXPECT_EQ(std::get<RecentFileChoice>(recent).url, URL::fromPath("/b/film.mkv"));
}

TEST(PlayerMenu, emptyStatesStandForAMissingPlayer) {
    ApplicationMenuState application;
    application.defaultRate = 1.5F;
    for (const auto& menus : {startMenu(application), menuBar(nullptr, application)}) {
        EXPECT_EQ(submenuOf(menus, "Tracks"), "(No Media Selected)");
        const auto controls =
            std::ranges::find(menus, QStringLiteral("Controls"), &MenuEntry::title);
        ASSERT_NE(controls, menus.end());
        EXPECT_TRUE(std::ranges::none_of(controls->children, [](const MenuEntry& entry) {
            return entry.isEnabled && !entry.title.isEmpty();
        }));
        const auto slider = std::ranges::find_if(controls->children, [](const MenuEntry& entry) {
            return entry.sliderRate.has_value();
        });
        ASSERT_NE(slider, controls->children.end());
        EXPECT_EQ(slider->sliderRate, 1.5F);
        EXPECT_EQ(submenuOf(menus, "Window"), "Minimize, (Enter Full Screen) <F>");
    }
}

TEST(PlayerMenu, theMenuBarShowsThePlayer) {
    PlayerMenuState state = filmState();
    state.isPlaying = true;
    state.rate = 2;
    const auto menus = menuBar(&state, applicationState());
    EXPECT_EQ(outlineOf(menus), "File, View, Controls, Tracks, Window, Help");
    EXPECT_EQ(submenuOf(menus, "View"), "Enter Full Screen <F>, Take Screenshot <S>, "
                                        "Remaining or End Time <T>");
    EXPECT_EQ(submenuOf(menus, "Controls").find("Pause <Space>, "), 0U);
    EXPECT_NE(submenuOf(menus, "Controls").find("Speed[0.5×, "), std::string::npos);
    EXPECT_NE(submenuOf(menus, "Tracks").find("(Subtitle Tracks (Bottom)), *Unk"),
              std::string::npos);
    EXPECT_NE(submenuOf(menus, "File").find("Add Subtitles…, |, Preferences…"), std::string::npos);
}

TEST(PlayerMenu, itemsCarryTheirCommands) {
    const PlayerMenuState state = filmState();
    const auto menu = playerMenu(state, {});
    const auto subtitles = std::ranges::find(menu, QStringLiteral("Subtitles"), &MenuEntry::title);
    ASSERT_NE(subtitles, menu.end());
    const auto* choice = std::get_if<TrackChoice>(&subtitles->children.at(1).command);
    ASSERT_NE(choice, nullptr) << asText(subtitles->children);
    EXPECT_EQ(choice->role, TrackRole::primarySubtitles);
    EXPECT_EQ(choice->track, state.tracks.subtitles[0]);
    EXPECT_EQ(std::get<PlayerAction>(menu.at(3).command), PlayerAction::togglePlayPause);
    EXPECT_EQ(std::get<RateChoice>(menu.at(7).children.at(0).command).rate, 0.5F);
}

TEST(PlayerAction, eachKeyHasOneActionAndTheTableIsComplete) {
    std::set<QString> keys;
    for (std::size_t index = 0; index < playerActions().size(); ++index) {
        const PlayerAction action = playerActions()[index].action;
        EXPECT_EQ(static_cast<std::size_t>(action), index) << playerActions()[index].title;
        EXPECT_EQ(&infoOf(action), &playerActions()[index]);
        for (const QKeySequence& key : keysOf(action)) {
            EXPECT_TRUE(keys.insert(key.toString()).second) << key.toString().toStdString();
            EXPECT_EQ(playerActionFor(key[0].key(), key[0].keyboardModifiers()), action);
        }
    }
    EXPECT_EQ(playerActions().back().action, PlayerAction::quit);
}

} // namespace
} // namespace zelvane
