// SPDX-License-Identifier: GPL-3.0-or-later
#include "player_window/player/player_menu.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include <QCoreApplication>

#include "player_window/controls/playback_rates.h"
#include "player_window/controls/time_formatter.h"

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

MenuEntry chaptersMenu(const PlayerMenuState& state) {
    const bool hasHours = state.chapters.back().start.seconds() >= 3600;
    const TimeFormatter formatter(hasHours);
    Entries entries =
        items(item(PlayerAction::previousChapter), item(PlayerAction::nextChapter), separator());
    for (std::size_t index = 0; index < state.chapters.size(); ++index) {
        const auto time =
            QString::fromStdString(formatter.string(state.chapters[index].start.seconds()));
        MenuEntry entry{
            .title = PlayerMenu::tr("%1 — %2").arg(chapterTitle(state.chapters, index), time)};
        entry.command = ChapterChoice{index};
        entries.push_back(checkedIf(state.chapter == index, std::move(entry)));
    }
    return submenu(PlayerMenu::tr("Chapters"), std::move(entries));
}

bool isOfSubtitles(TrackRole role) {
    return role == TrackRole::primarySubtitles || role == TrackRole::secondarySubtitles;
}

Entries seekItems(bool hasVideo) {
    Entries entries =
        items(item(PlayerAction::seekSecondBackward), item(PlayerAction::seekSecondForward));
    if (hasVideo) {
        append(entries, items(item(PlayerAction::stepBackward), item(PlayerAction::stepForward)));
    }
    append(entries,
           items(separator(), item(PlayerAction::jumpToBeginning), item(PlayerAction::jumpToEnd),
                 separator(), item(PlayerAction::markLoop)));
    return entries;
}

Entries playbackMenu(bool hasVideo) {
    Entries entries = seekItems(hasVideo);
    entries.push_back(item(PlayerAction::toggleEndTime));
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

bool hasTracksToChoose(const PlayerMenuState& state) {
    return !state.tracks.video.empty() || state.tracks.audio.size() > 1;
}

MenuEntry fullScreenItem(const PlayerMenuState* player) {
    return item(player != nullptr && player->isFullScreen ? PlayerMenu::tr("Leave Full Screen")
                                                          : PlayerMenu::tr("Enter Full Screen"),
                PlayerAction::toggleFullScreen);
}

/// Files of the same name are told apart by their folders.
QString fileTitleOf(const URL& file, const std::vector<URL>& files) {
    QString name = QString::fromStdString(file.lastPathComponent());
    const bool isAmbiguous =
        std::ranges::count(files, file.lastPathComponent(), &URL::lastPathComponent) > 1;
    if (!isAmbiguous) {
        return name;
    }
    const QString path = QString::fromStdString(file.path());
    return PlayerMenu::tr("%1 — %2").arg(name, path.section('/', -2, -2));
}

MenuEntry recentFilesMenu(const std::vector<URL>& files) {
    Entries entries;
    for (const URL& file : files) {
        MenuEntry entry{.title = fileTitleOf(file, files)};
        entry.command = RecentFileChoice{file};
        entries.push_back(std::move(entry));
    }
    if (!entries.empty()) {
        append(entries, items(separator(), item(PlayerAction::clearRecentFiles)));
    }
    return submenu(PlayerMenu::tr("Open Recent"), std::move(entries));
}

Entries windowItems(const std::vector<ApplicationMenuState::OpenWindow>& windows) {
    Entries entries;
    for (const auto& window : windows) {
        MenuEntry entry{.title = window.title};
        entry.command = WindowChoice{window.number};
        entries.push_back(checkedIf(window.isFront, std::move(entry)));
    }
    return entries;
}

/// Preferences and what informs about the program.
Entries applicationItems(const ApplicationMenuState& application) {
    Entries entries;
    if (application.hasPreferences) {
        entries.push_back(item(PlayerAction::showPreferences));
    }
    append(entries, items(item(PlayerAction::showKeys), item(PlayerAction::showAbout)));
    return entries;
}

Entries disabledIf(bool isDisabled, Entries entries) {
    for (MenuEntry& entry : entries) {
        entry.isEnabled = entry.isEnabled && !isDisabled;
    }
    return entries;
}

MenuEntry fileMenu(const PlayerMenuState* player, const ApplicationMenuState& application) {
    const bool canAdd =
        player != nullptr && !player->tracks.video.empty() && !player->isAddingSubtitles;
    Entries entries = items(item(PlayerAction::openFile), recentFilesMenu(application.recentFiles),
                            enabledIf(canAdd, item(PlayerAction::addSubtitles)), separator());
    if (application.hasPreferences) {
        append(entries, items(item(PlayerAction::showPreferences), separator()));
    }
    append(entries, items(item(PlayerAction::closeWindow), item(PlayerAction::quit)));
    return submenu(titleOf(PlayerActionGroup::file), std::move(entries));
}

MenuEntry viewMenu(const PlayerMenuState* player) {
    const bool hasVideo = player != nullptr && !player->tracks.video.empty();
    return submenu(PlayerMenu::tr("View"),
                   items(enabledIf(hasVideo, fullScreenItem(player)),
                         enabledIf(hasVideo, item(PlayerAction::takeScreenshot)),
                         enabledIf(player != nullptr, item(PlayerAction::toggleEndTime))));
}

MenuEntry rateSlider(float rate) {
    MenuEntry entry = submenu(titleOf(PlayerActionGroup::speed), speedMenu(rate));
    entry.sliderRate = rate;
    return entry;
}

MenuEntry controlsMenu(const PlayerMenuState* player, float defaultRate) {
    const bool isPlaying = player != nullptr && player->isPlaying;
    Entries entries = items(item(isPlaying ? PlayerMenu::tr("Pause") : PlayerMenu::tr("Play"),
                                 PlayerAction::togglePlayPause),
                            item(PlayerAction::jumpBackward), item(PlayerAction::jumpForward));
    append(entries, seekItems(player == nullptr || !player->tracks.video.empty()));
    if (player != nullptr && !player->chapters.empty()) {
        entries.push_back(chaptersMenu(*player));
    }
    append(entries, items(separator(), rateSlider(player != nullptr ? player->rate : defaultRate),
                          separator()));
    append(entries, soundMenu(player != nullptr ? *player : PlayerMenuState()));
    return submenu(PlayerMenu::tr("Controls"), disabledIf(player == nullptr, std::move(entries)));
}

MenuEntry allTracksMenu(const PlayerMenuState* player) {
    Entries entries;
    if (player != nullptr) {
        entries = trackSections(*player, [](TrackRole /*role*/) { return true; });
    } else {
        entries.push_back(enabledIf(false, {.title = PlayerMenu::tr("No Media Selected")}));
    }
    return submenu(PlayerMenu::tr("Tracks"), std::move(entries));
}

MenuEntry windowMenu(const PlayerMenuState* player, const ApplicationMenuState& application) {
    const bool canFillScreen = player != nullptr && !player->tracks.video.empty();
    Entries entries =
        items(item(PlayerAction::minimizeWindow), enabledIf(canFillScreen, fullScreenItem(player)));
    if (!application.windows.empty()) {
        entries.push_back(separator());
        append(entries, windowItems(application.windows));
    }
    return submenu(titleOf(PlayerActionGroup::window), std::move(entries));
}

} // namespace

QString chapterTitle(const MediaChapters& chapters, std::size_t index) {
    const std::string& title = chapters[index].title;
    return title.empty() ? PlayerMenu::tr("Chapter %1").arg(index + 1)
                         : QString::fromStdString(title);
}

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

std::vector<MenuEntry> playerMenu(const PlayerMenuState& state,
                                  const ApplicationMenuState& application) {
    const bool hasVideo = !state.tracks.video.empty();
    Entries menu =
        items(item(PlayerAction::openFile), recentFilesMenu(application.recentFiles), separator(),
              item(state.isPlaying ? PlayerMenu::tr("Pause") : PlayerMenu::tr("Play"),
                   PlayerAction::togglePlayPause),
              item(PlayerAction::jumpBackward), item(PlayerAction::jumpForward),
              submenu(titleOf(PlayerActionGroup::playback), playbackMenu(hasVideo)));
    if (!state.chapters.empty()) {
        menu.push_back(chaptersMenu(state));
    }
    append(menu, items(submenu(titleOf(PlayerActionGroup::speed), speedMenu(state.rate)),
                       submenu(titleOf(PlayerActionGroup::sound), soundMenu(state))));
    if (hasTracksToChoose(state)) {
        menu.push_back(submenu(PlayerMenu::tr("Tracks"), trackSections(state, [](TrackRole role) {
                                   return !isOfSubtitles(role);
                               })));
    }
    if (hasVideo) {
        menu.push_back(submenu(titleOf(PlayerActionGroup::subtitles), subtitlesMenu(state)));
        menu.push_back(separator());
        append(menu, items(item(PlayerAction::takeScreenshot), fullScreenItem(&state)));
    }
    menu.push_back(separator());
    if (application.windows.size() > 1) {
        menu.push_back(windowMenu(&state, application));
    }
    append(menu, applicationItems(application));
    append(menu, items(separator(), item(PlayerAction::closeWindow), item(PlayerAction::quit)));
    return menu;
}

std::vector<MenuEntry> startMenu(const ApplicationMenuState& application) {
    Entries menu =
        items(item(PlayerAction::openFile), recentFilesMenu(application.recentFiles), separator(),
              viewMenu(nullptr), controlsMenu(nullptr, application.defaultRate),
              allTracksMenu(nullptr), windowMenu(nullptr, application), separator());
    append(menu, applicationItems(application));
    append(menu, items(separator(), item(PlayerAction::quit)));
    return menu;
}

std::vector<MenuEntry> menuBar(const PlayerMenuState* player,
                               const ApplicationMenuState& application) {
    return items(fileMenu(player, application), viewMenu(player),
                 controlsMenu(player, application.defaultRate), allTracksMenu(player),
                 windowMenu(player, application),
                 submenu(PlayerMenu::tr("Help"),
                         items(item(PlayerAction::showKeys), item(PlayerAction::showAbout))));
}

} // namespace zelvane
