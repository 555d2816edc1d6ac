// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>
#include <string>
#include <variant>
#include <vector>

#include <QKeySequence>
#include <QString>

#include "player_window/tracks/tracks_menu.h"
#include "player_window/window/player_action.h"

namespace zelvane {

struct RateChoice {
    float rate;
};
struct TrackChoice {
    TrackRole role;
    std::shared_ptr<MediaTrack> track;
};
/// What choosing an item does; nothing for a header, a separator or a submenu.
using MenuCommand = std::variant<std::monostate, PlayerAction, RateChoice, TrackChoice>;

/// One line of a menu, as data.
struct MenuEntry {
    /// Empty for a separator.
    QString title = {};
    /// Shown beside the title.
    QKeySequence key = {};
    bool isEnabled = true;
    bool isCheckable = false;
    bool isChecked = false;
    MenuCommand command = {};
    /// A submenu.
    std::vector<MenuEntry> children = {};
};

/// What the menu of a player window depends on.
struct PlayerMenuState {
    SourceTracks tracks;
    SelectedTracks selectedTracks;
    /// A BCP 47 tag.
    std::string displayLanguage;
    float rate = 1;
    bool isPlaying = false;
    bool isMuted = false;
    bool isFullScreen = false;
    bool isAddingSubtitles = false;
};

/// The whole menu, for a right click and the menu button.
std::vector<MenuEntry> playerMenu(const PlayerMenuState& state);
/// The tracks and the speeds, for the tracks button of a window for sound alone.
std::vector<MenuEntry> soundTracksMenu(const PlayerMenuState& state);

} // namespace zelvane
