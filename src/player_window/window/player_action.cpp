// SPDX-License-Identifier: GPL-3.0-or-later
#include "player_window/window/player_action.h"

#include <algorithm>
#include <array>

#include <QCoreApplication>

namespace zelvane {
namespace {

constexpr const char* kContext = "PlayerAction";

using enum PlayerAction;
using Group = PlayerActionGroup;

constexpr std::array kActions{
    PlayerActionInfo{togglePlayPause, Group::playback,
                     QT_TRANSLATE_NOOP("PlayerAction", "Play or Pause")},
    PlayerActionInfo{jumpBackward, Group::playback, QT_TRANSLATE_NOOP("PlayerAction", "Jump Back"),
                     true},
    PlayerActionInfo{jumpForward, Group::playback,
                     QT_TRANSLATE_NOOP("PlayerAction", "Jump Forward"), true},
    PlayerActionInfo{seekSecondBackward, Group::playback,
                     QT_TRANSLATE_NOOP("PlayerAction", "Back 1 Second"), true},
    PlayerActionInfo{seekSecondForward, Group::playback,
                     QT_TRANSLATE_NOOP("PlayerAction", "Forward 1 Second"), true},
    PlayerActionInfo{stepBackward, Group::playback,
                     QT_TRANSLATE_NOOP("PlayerAction", "Previous Frame"), true},
    PlayerActionInfo{stepForward, Group::playback, QT_TRANSLATE_NOOP("PlayerAction", "Next Frame"),
                     true},
    PlayerActionInfo{jumpToBeginning, Group::playback,
                     QT_TRANSLATE_NOOP("PlayerAction", "Go to Beginning")},
    PlayerActionInfo{jumpToEnd, Group::playback, QT_TRANSLATE_NOOP("PlayerAction", "Go to End")},
    PlayerActionInfo{previousChapter, Group::playback,
                     QT_TRANSLATE_NOOP("PlayerAction", "Previous Chapter"), true},
    PlayerActionInfo{nextChapter, Group::playback,
                     QT_TRANSLATE_NOOP("PlayerAction", "Next Chapter"), true},
    PlayerActionInfo{markLoop, Group::playback,
                     QT_TRANSLATE_NOOP("PlayerAction", "Mark Loop Start, End, None")},
    PlayerActionInfo{increaseRate, Group::speed, QT_TRANSLATE_NOOP("PlayerAction", "Faster")},
    PlayerActionInfo{decreaseRate, Group::speed, QT_TRANSLATE_NOOP("PlayerAction", "Slower")},
    PlayerActionInfo{resetRate, Group::speed, QT_TRANSLATE_NOOP("PlayerAction", "Normal Speed")},
    PlayerActionInfo{raiseVolume, Group::sound, QT_TRANSLATE_NOOP("PlayerAction", "Louder"), true},
    PlayerActionInfo{lowerVolume, Group::sound, QT_TRANSLATE_NOOP("PlayerAction", "Quieter"), true},
    PlayerActionInfo{toggleMute, Group::sound, QT_TRANSLATE_NOOP("PlayerAction", "Mute")},
    PlayerActionInfo{cycleAudio, Group::sound,
                     QT_TRANSLATE_NOOP("PlayerAction", "Next Audio Track")},
    PlayerActionInfo{cyclePrimarySubtitles, Group::subtitles,
                     QT_TRANSLATE_NOOP("PlayerAction", "Next Subtitles (Bottom)")},
    PlayerActionInfo{cycleSecondarySubtitles, Group::subtitles,
                     QT_TRANSLATE_NOOP("PlayerAction", "Next Subtitles (Top)")},
    PlayerActionInfo{addSubtitles, Group::subtitles,
                     QT_TRANSLATE_NOOP("PlayerAction", "Add Subtitles…")},
    PlayerActionInfo{toggleFullScreen, Group::window,
                     QT_TRANSLATE_NOOP("PlayerAction", "Full Screen")},
    PlayerActionInfo{leaveFullScreen, Group::window,
                     QT_TRANSLATE_NOOP("PlayerAction", "Leave Full Screen")},
    PlayerActionInfo{toggleEndTime, Group::window,
                     QT_TRANSLATE_NOOP("PlayerAction", "Remaining or End Time")},
    PlayerActionInfo{takeScreenshot, Group::window,
                     QT_TRANSLATE_NOOP("PlayerAction", "Take Screenshot")},
    PlayerActionInfo{showKeys, Group::window,
                     QT_TRANSLATE_NOOP("PlayerAction", "Keyboard Shortcuts")},
    PlayerActionInfo{minimizeWindow, Group::window, QT_TRANSLATE_NOOP("PlayerAction", "Minimize")},
    PlayerActionInfo{openFile, Group::file, QT_TRANSLATE_NOOP("PlayerAction", "Open…")},
    PlayerActionInfo{clearRecentFiles, Group::file,
                     QT_TRANSLATE_NOOP("PlayerAction", "Clear Recent Files")},
    PlayerActionInfo{showPreferences, Group::file,
                     QT_TRANSLATE_NOOP("PlayerAction", "Preferences…")},
    PlayerActionInfo{showAbout, Group::file,
                     QT_TRANSLATE_NOOP("PlayerAction", "About Zelvane Player")},
    PlayerActionInfo{closeWindow, Group::file, QT_TRANSLATE_NOOP("PlayerAction", "Close")},
    PlayerActionInfo{quit, Group::file, QT_TRANSLATE_NOOP("PlayerAction", "Quit")},
};

struct Binding {
    int key;
    Qt::KeyboardModifiers modifiers;
    PlayerAction action;
};

constexpr std::array kBindings{
    Binding{Qt::Key_Space, Qt::NoModifier, togglePlayPause},
    Binding{Qt::Key_Left, Qt::NoModifier, jumpBackward},
    Binding{Qt::Key_Right, Qt::NoModifier, jumpForward},
    Binding{Qt::Key_Left, Qt::ShiftModifier, seekSecondBackward},
    Binding{Qt::Key_Right, Qt::ShiftModifier, seekSecondForward},
    Binding{Qt::Key_Comma, Qt::NoModifier, stepBackward},
    Binding{Qt::Key_Period, Qt::NoModifier, stepForward},
    Binding{Qt::Key_Home, Qt::NoModifier, jumpToBeginning},
    Binding{Qt::Key_End, Qt::NoModifier, jumpToEnd},
    Binding{Qt::Key_PageUp, Qt::NoModifier, previousChapter},
    Binding{Qt::Key_PageDown, Qt::NoModifier, nextChapter},
    Binding{Qt::Key_L, Qt::NoModifier, markLoop},
    Binding{Qt::Key_F, Qt::NoModifier, toggleFullScreen},
    Binding{Qt::Key_F11, Qt::NoModifier, toggleFullScreen},
    Binding{Qt::Key_F, Qt::ControlModifier, toggleFullScreen},
    Binding{Qt::Key_Escape, Qt::NoModifier, leaveFullScreen},
    Binding{Qt::Key_Up, Qt::NoModifier, raiseVolume},
    Binding{Qt::Key_Down, Qt::NoModifier, lowerVolume},
    Binding{Qt::Key_M, Qt::NoModifier, toggleMute},
    Binding{Qt::Key_Backspace, Qt::NoModifier, resetRate},
    Binding{Qt::Key_J, Qt::NoModifier, cyclePrimarySubtitles},
    Binding{Qt::Key_J, Qt::ShiftModifier, cycleSecondarySubtitles},
    Binding{Qt::Key_T, Qt::NoModifier, toggleEndTime},
    Binding{Qt::Key_S, Qt::NoModifier, takeScreenshot},
    Binding{Qt::Key_O, Qt::ControlModifier, openFile},
    Binding{Qt::Key_Comma, Qt::ControlModifier, showPreferences},
    Binding{Qt::Key_W, Qt::ControlModifier, closeWindow},
    Binding{Qt::Key_Q, Qt::ControlModifier, quit},
};

/// Some keyboards need Shift or AltGr for these.
constexpr std::array kSymbols{
    Binding{Qt::Key_NumberSign, Qt::NoModifier, cycleAudio},
    Binding{Qt::Key_BracketRight, Qt::NoModifier, increaseRate},
    Binding{Qt::Key_BracketLeft, Qt::NoModifier, decreaseRate},
    Binding{Qt::Key_Slash, Qt::ControlModifier, showKeys},
};

template <std::size_t count>
std::optional<PlayerAction> find(const std::array<Binding, count>& bindings, int key,
                                 Qt::KeyboardModifiers modifiers) {
    const auto* found = std::ranges::find_if(bindings, [&](const Binding& candidate) {
        return candidate.key == key && candidate.modifiers == modifiers;
    });
    return found == bindings.end() ? std::nullopt : std::optional(found->action);
}

const char* untranslatedTitleOf(PlayerActionGroup group) {
    switch (group) {
    case Group::playback:
        return QT_TRANSLATE_NOOP("PlayerAction", "Playback");
    case Group::speed:
        return QT_TRANSLATE_NOOP("PlayerAction", "Speed");
    case Group::sound:
        return QT_TRANSLATE_NOOP("PlayerAction", "Sound");
    case Group::subtitles:
        return QT_TRANSLATE_NOOP("PlayerAction", "Subtitles");
    case Group::window:
        return QT_TRANSLATE_NOOP("PlayerAction", "Window");
    case Group::file:
        break;
    }
    return QT_TRANSLATE_NOOP("PlayerAction", "File");
}

} // namespace

std::span<const PlayerActionInfo> playerActions() {
    return kActions;
}

const PlayerActionInfo& infoOf(PlayerAction action) {
    // The table is in the order of the enumeration, as a test checks.
    return kActions.at(static_cast<std::size_t>(action));
}

QString titleOf(PlayerAction action) {
    return QCoreApplication::translate(kContext, infoOf(action).title);
}

QString titleOf(PlayerActionGroup group) {
    return QCoreApplication::translate(kContext, untranslatedTitleOf(group));
}

std::optional<PlayerAction> playerActionFor(int key, Qt::KeyboardModifiers modifiers) {
    const auto wanted = modifiers & ~Qt::KeyboardModifiers(Qt::KeypadModifier);
    const auto action = find(kBindings, key, wanted);
    return action ? action : find(kSymbols, key, wanted & Qt::ControlModifier);
}

std::vector<QKeySequence> keysOf(PlayerAction action) {
    std::vector<QKeySequence> keys;
    const auto collect = [&](const auto& bindings) {
        for (const Binding& binding : bindings) {
            if (binding.action == action) {
                keys.emplace_back(
                    QKeyCombination(binding.modifiers, static_cast<Qt::Key>(binding.key)));
            }
        }
    };
    collect(kBindings);
    collect(kSymbols);
    return keys;
}

QString nameWithKey(const QString& name, PlayerAction action) {
    const auto keys = keysOf(action);
    return keys.empty() ? name
                        : QCoreApplication::translate(kContext, "%1 (%2)")
                              .arg(name, keys.front().toString(QKeySequence::NativeText));
}

} // namespace zelvane
