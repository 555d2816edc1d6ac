// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include <QKeySequence>
#include <QString>

#include "foundation/url.h"
#include "media_player/media_source/media_chapter.h"
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
/// Goes to the start of a chapter.
struct ChapterChoice {
    std::size_t index;
};
/// Opens the file again.
struct RecentFileChoice {
    URL url;
};
/// Brings a window to the front.
struct WindowChoice {
    std::int64_t number;
};
/// What choosing an item does; nothing for a header, a separator or a submenu.
using MenuCommand = std::variant<std::monostate, PlayerAction, RateChoice, TrackChoice,
                                 ChapterChoice, RecentFileChoice, WindowChoice>;

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
    /// A slider of playback rates at this rate. `children` stand for it where a menu cannot hold
    /// widgets.
    std::optional<float> sliderRate = {};
};

/// What the menu of a player window depends on.
struct PlayerMenuState {
    SourceTracks tracks;
    SelectedTracks selectedTracks;
    /// A BCP 47 tag.
    std::string displayLanguage;
    MediaChapters chapters;
    /// The chapter that is played.
    std::optional<std::size_t> chapter;
    float rate = 1;
    bool isPlaying = false;
    bool isMuted = false;
    bool isFullScreen = false;
    bool isAddingSubtitles = false;
};

/// What menus show beside the player.
struct ApplicationMenuState {
    struct OpenWindow {
        std::int64_t number = 0;
        QString title = {};
        bool isFront = false;
    };
    /// The latest first.
    std::vector<URL> recentFiles = {};
    std::vector<OpenWindow> windows = {};
    bool hasPreferences = false;
    /// The rate of new players.
    float defaultRate = 1;
};

/// The name of a chapter: its title, or its number where it has none.
QString chapterTitle(const MediaChapters& chapters, std::size_t index);

/// The whole menu of a player window, for a right click and the menu button.
std::vector<MenuEntry> playerMenu(const PlayerMenuState& state,
                                  const ApplicationMenuState& application);
/// The menu of the window that is shown while no player is open.
std::vector<MenuEntry> startMenu(const ApplicationMenuState& application);
/// The menus of a menu bar: of the frontmost player, or their empty states where it is null.
std::vector<MenuEntry> menuBar(const PlayerMenuState* player,
                               const ApplicationMenuState& application);
/// The tracks and the speeds, for the tracks button of a window for sound alone.
std::vector<MenuEntry> soundTracksMenu(const PlayerMenuState& state);

} // namespace zelvane
