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
    EXPECT_EQ(outlineOf(playerMenu(filmState())),
              "Open… <Ctrl+O>, |, Play <Space>, Jump Back <Left>, Jump Forward <Right>, Playback, "
              "Speed, Sound, Tracks, Subtitles, |, Take Screenshot <S>, Enter Full Screen <F>, |, "
              "Keyboard Shortcuts <Ctrl+/>, Close <Ctrl+W>, Quit <Ctrl+Q>");
}

TEST(PlayerMenu, soundAloneHasNoItemsOfPictures) {
    PlayerMenuState state;
    state.tracks.audio = {test::audioTrack("a")};
    state.isPlaying = true;
    EXPECT_EQ(outlineOf(playerMenu(state)),
              "Open… <Ctrl+O>, |, Pause <Space>, Jump Back <Left>, Jump Forward <Right>, Playback, "
              "Speed, Sound, |, Keyboard Shortcuts <Ctrl+/>, Close <Ctrl+W>, Quit <Ctrl+Q>");
    EXPECT_EQ(submenuOf(playerMenu(state), "Playback").find("Frame"), std::string::npos);
    const std::string speeds = "(Speed), 0.5×, 0.75×, *1×, 1.25×, 1.5×, 1.75×, 2×";
    EXPECT_EQ(asText(soundTracksMenu(state)), speeds);
    state.tracks.audio.push_back(test::audioTrack("b"));
    EXPECT_EQ(asText(soundTracksMenu(state)),
              "(Audio Tracks), Unknown Language (1), Unknown Language (2), |, " + speeds);
    EXPECT_EQ(submenuOf(playerMenu(state), "Tracks").find("(Audio Tracks), "), 0U);
}

TEST(PlayerMenu, submenusShowTheStateOfThePlayer) {
    PlayerMenuState state = filmState();
    state.rate = 1.3F;
    state.isMuted = true;
    state.isFullScreen = true;
    state.isAddingSubtitles = true;
    const auto menu = playerMenu(state);
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
    EXPECT_EQ(submenuOf(playerMenu(state), "Subtitles"), "Add Subtitles…");
}

TEST(PlayerMenu, itemsCarryTheirCommands) {
    const PlayerMenuState state = filmState();
    const auto menu = playerMenu(state);
    const auto subtitles = std::ranges::find(menu, QStringLiteral("Subtitles"), &MenuEntry::title);
    ASSERT_NE(subtitles, menu.end());
    const auto* choice = std::get_if<TrackChoice>(&subtitles->children.at(1).command);
    ASSERT_NE(choice, nullptr) << asText(subtitles->children);
    EXPECT_EQ(choice->role, TrackRole::primarySubtitles);
    EXPECT_EQ(choice->track, state.tracks.subtitles[0]);
    EXPECT_EQ(std::get<PlayerAction>(menu.at(2).command), PlayerAction::togglePlayPause);
    EXPECT_EQ(std::get<RateChoice>(menu.at(6).children.at(0).command).rate, 0.5F);
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
