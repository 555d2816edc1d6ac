// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>
#include <span>
#include <vector>

#include <QKeySequence>
#include <QString>
#include <Qt>

namespace zelvane {

/// What a key or a menu item of a player window does.
enum class PlayerAction {
    togglePlayPause,
    jumpBackward,
    jumpForward,
    seekSecondBackward,
    seekSecondForward,
    stepBackward,
    stepForward,
    jumpToBeginning,
    jumpToEnd,
    previousChapter,
    nextChapter,
    markLoop,
    increaseRate,
    decreaseRate,
    resetRate,
    raiseVolume,
    lowerVolume,
    toggleMute,
    cycleAudio,
    cyclePrimarySubtitles,
    cycleSecondarySubtitles,
    addSubtitles,
    toggleFullScreen,
    leaveFullScreen,
    toggleEndTime,
    takeScreenshot,
    showKeys,
    minimizeWindow,
    openFile,
    clearRecentFiles,
    showPreferences,
    showAbout,
    closeWindow,
    quit,
};

enum class PlayerActionGroup { playback, speed, sound, subtitles, window, file };

struct PlayerActionInfo {
    PlayerAction action;
    PlayerActionGroup group;
    /// Untranslated.
    const char* title;
    /// Whether a key that is held down repeats the action.
    bool repeats = false;
};

/// All actions, group by group.
std::span<const PlayerActionInfo> playerActions();
const PlayerActionInfo& infoOf(PlayerAction action);
/// For the user.
QString titleOf(PlayerAction action);
QString titleOf(PlayerActionGroup group);

/// The action of a key, or none. The keypad does not matter.
std::optional<PlayerAction> playerActionFor(int key, Qt::KeyboardModifiers modifiers);
/// The keys of an action; the first is the one to show in a menu.
std::vector<QKeySequence> keysOf(PlayerAction action);
/// A name with the first key of its action, as in "Play (Space)".
QString nameWithKey(const QString& name, PlayerAction action);

} // namespace zelvane
