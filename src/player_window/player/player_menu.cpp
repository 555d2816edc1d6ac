// SPDX-License-Identifier: GPL-3.0-or-later
#include "player_window/player/player_menu.h"

#include <utility>

#include <QCoreApplication>

#include "player_window/controls/playback_rates.h"

namespace zelvane {
namespace {

class PlayerMenu {
    Q_DECLARE_TR_FUNCTIONS(PlayerMenu)
};

using Entries = std::vector<MenuEntry>;

MenuEntry separator() {
    return {};
}

MenuEntry submenu(const QString& title, Entries children) {
    MenuEntry entry{.title = title};
    entry.isEnabled = !children.empty();
    entry.children = std::move(children);
    return entry;
}

MenuEntry item(const QString& title, PlayerAction action) {
    MenuEntry entry{.title = title};
    const auto keys = keysOf(action);
    if (!keys.empty()) {
        entry.key = keys.front();
    }
    entry.command = action;
    return entry;
}

MenuEntry item(PlayerAction action) {
    return item(titleOf(action), action);
}

MenuEntry checkedIf(bool isChecked, MenuEntry entry) {
    entry.isCheckable = true;
    entry.isChecked = isChecked;
    return entry;
}

MenuEntry enabledIf(bool isEnabled, MenuEntry entry) {
    entry.isEnabled = isEnabled;
    return entry;
}

template <class... Some>
Entries items(Some... entries) {
    return {std::move(entries)...};
}

void append(Entries& entries, Entries more) {
    entries.insert(entries.end(), std::make_move_iterator(more.begin()),
                   std::make_move_iterator(more.end()));
}

/// The sections of some roles, with a separator between them.
template <class IsWanted>
Entries trackSections(const PlayerMenuState& state, const IsWanted& isWanted) {
    Entries entries;
    for (const TracksMenuSection& section :
         tracksMenu(state.tracks, state.selectedTracks, state.displayLanguage)) {
        if (!isWanted(section.role)) {
            continue;
        }
        if (!entries.empty()) {
            entries.push_back(separator());
        }
        const auto& header = section.header;
        entries.push_back(enabledIf(
            false,
            {.title = QString::fromUtf8(header.data(), static_cast<qsizetype>(header.size()))}));
        for (const TracksMenuItem& track : section.items) {
            MenuEntry entry{.title = QString::fromStdString(track.title)};
            entry.command = TrackChoice{section.role, track.track};
            entries.push_back(checkedIf(track.isChecked, std::move(entry)));
        }
    }
    return entries;
}

bool isOfSubtitles(TrackRole role) {
    return role == TrackRole::primarySubtitles || role == TrackRole::secondarySubtitles;
}

Entries playbackMenu(bool hasVideo) {
    Entries entries =
        items(item(PlayerAction::seekSecondBackward), item(PlayerAction::seekSecondForward));
    if (hasVideo) {
        append(entries, items(item(PlayerAction::stepBackward), item(PlayerAction::stepForward)));
    }
    append(entries,
           items(separator(), item(PlayerAction::jumpToBeginning), item(PlayerAction::jumpToEnd),
                 separator(), item(PlayerAction::markLoop), item(PlayerAction::toggleEndTime)));
    return entries;
}

Entries rateItems(float rate) {
    Entries entries;
    const float nearest = kPlaybackRates.at(nearestPlaybackRate(rate)).rate;
    for (const PlaybackRate& choice : kPlaybackRates) {
        MenuEntry entry{.title = QStringLiteral("%1×").arg(static_cast<double>(choice.rate))};
        entry.command = RateChoice{choice.rate};
        entries.push_back(checkedIf(choice.rate == nearest, std::move(entry)));
    }
    return entries;
}

Entries speedMenu(float rate) {
    Entries entries = rateItems(rate);
    append(entries, items(separator(), item(PlayerAction::increaseRate),
                          item(PlayerAction::decreaseRate), item(PlayerAction::resetRate)));
    return entries;
}

Entries soundMenu(const PlayerMenuState& state) {
    return items(item(PlayerAction::raiseVolume), item(PlayerAction::lowerVolume),
                 checkedIf(state.isMuted, item(PlayerAction::toggleMute)));
}

/// Embedded and added tracks, and the way to add one.
Entries subtitlesMenu(const PlayerMenuState& state) {
    Entries entries = trackSections(state, isOfSubtitles);
    if (!entries.empty()) {
        entries.push_back(separator());
    }
    entries.push_back(enabledIf(!state.isAddingSubtitles, item(PlayerAction::addSubtitles)));
    return entries;
}

Entries pictureItems(const PlayerMenuState& state) {
    return items(item(PlayerAction::takeScreenshot),
                 item(state.isFullScreen ? PlayerMenu::tr("Leave Full Screen")
                                         : PlayerMenu::tr("Enter Full Screen"),
                      PlayerAction::toggleFullScreen));
}

bool hasTracksToChoose(const PlayerMenuState& state) {
    return !state.tracks.video.empty() || state.tracks.audio.size() > 1;
}

} // namespace

std::vector<MenuEntry> soundTracksMenu(const PlayerMenuState& state) {
    Entries menu;
    if (hasTracksToChoose(state)) {
        menu = trackSections(state, [](TrackRole role) { return role == TrackRole::audio; });
        menu.push_back(separator());
    }
    menu.push_back(enabledIf(false, {.title = titleOf(PlayerActionGroup::speed)}));
    append(menu, rateItems(state.rate));
    return menu;
}

std::vector<MenuEntry> playerMenu(const PlayerMenuState& state) {
    const bool hasVideo = !state.tracks.video.empty();
    Entries menu = items(item(PlayerAction::openFile), separator(),
                         item(state.isPlaying ? PlayerMenu::tr("Pause") : PlayerMenu::tr("Play"),
                              PlayerAction::togglePlayPause),
                         item(PlayerAction::jumpBackward), item(PlayerAction::jumpForward),
                         submenu(titleOf(PlayerActionGroup::playback), playbackMenu(hasVideo)),
                         submenu(titleOf(PlayerActionGroup::speed), speedMenu(state.rate)),
                         submenu(titleOf(PlayerActionGroup::sound), soundMenu(state)));
    if (hasTracksToChoose(state)) {
        menu.push_back(submenu(PlayerMenu::tr("Tracks"), trackSections(state, [](TrackRole role) {
                                   return !isOfSubtitles(role);
                               })));
    }
    if (hasVideo) {
        menu.push_back(submenu(titleOf(PlayerActionGroup::subtitles), subtitlesMenu(state)));
        menu.push_back(separator());
        append(menu, pictureItems(state));
    }
    append(menu, items(separator(), item(PlayerAction::showKeys), item(PlayerAction::closeWindow),
                       item(PlayerAction::quit)));
    return menu;
}

} // namespace zelvane
