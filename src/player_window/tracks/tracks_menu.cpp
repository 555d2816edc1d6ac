// SPDX-License-Identifier: GPL-3.0-or-later
#include "player_window/tracks/tracks_menu.h"

#include <map>

#include <fmt/format.h>

#include "foundation/language_name.h"

namespace zelvane {
namespace {

using Track = std::shared_ptr<MediaTrack>;

std::string joinedLanguageNames(const MediaTrack& track, std::string_view displayLanguage) {
    std::string names;
    for (const std::string& code : track.languageCodes()) {
        names += names.empty() ? "" : "/";
        names += languageName(code, displayLanguage).value_or(fmt::format("[{}]", code));
    }
    return names.empty() ? "Unknown Language" : names;
}

void numberEqualTitles(std::vector<TracksMenuItem>& items) {
    std::map<std::string, int> counts;
    for (const auto& item : items) {
        ++counts[item.title];
    }
    std::map<std::string, int> numbers;
    for (auto& item : items) {
        if (counts[item.title] > 1) {
            const int number = ++numbers[item.title];
            item.title += fmt::format(" ({})", number);
        }
    }
}

template <class Tracks>
TracksMenuSection section(std::string_view header, TrackRole role, const Tracks& tracks,
                          const Track& checked, std::string_view displayLanguage) {
    TracksMenuSection section{header, role, {}};
    for (const auto& track : tracks) {
        section.items.push_back({trackTitle(*track, displayLanguage), track == checked, track});
    }
    numberEqualTitles(section.items);
    return section;
}

/// The checked item is the only way to no track at all.
template <class T>
std::shared_ptr<T> toggled(const std::shared_ptr<T>& selected, const std::shared_ptr<T>& chosen) {
    return selected == chosen ? nullptr : chosen;
}

void chooseSubtitles(std::shared_ptr<SubtitlesTrack>& position,
                     std::shared_ptr<SubtitlesTrack>& otherPosition,
                     const std::shared_ptr<SubtitlesTrack>& track) {
    position = toggled(position, track);
    if (otherPosition == track) {
        otherPosition = nullptr;
    }
}

template <class T, class Choose>
void withTrackOfType(const Track& track, const Choose& choose) {
    if (const auto typed = std::dynamic_pointer_cast<T>(track)) {
        choose(typed);
    }
}

} // namespace

std::vector<TracksMenuSection> tracksMenu(const SourceTracks& tracks,
                                          const SelectedTracks& selected,
                                          std::string_view displayLanguage) {
    std::vector<TracksMenuSection> menu;
    const auto add = [&](std::string_view header, TrackRole role, const auto& ofRole,
                         const Track& checked) {
        menu.push_back(section(header, role, ofRole, checked, displayLanguage));
    };
    if (!tracks.video.empty()) {
        add("Video Tracks", TrackRole::video, tracks.video, selected.video);
    }
    if (!tracks.audio.empty()) {
        add("Audio Tracks", TrackRole::audio, tracks.audio, selected.audio);
    }
    if (tracks.video.empty() || tracks.subtitles.empty()) {
        return menu;
    }
    if (tracks.subtitles.size() == 1) {
        add("Subtitle Tracks", TrackRole::primarySubtitles, tracks.subtitles,
            selected.primarySubtitles);
        return menu;
    }
    add("Subtitle Tracks (Bottom)", TrackRole::primarySubtitles, tracks.subtitles,
        selected.primarySubtitles);
    add("Subtitle Tracks (Top)", TrackRole::secondarySubtitles, tracks.subtitles,
        selected.secondarySubtitles);
    return menu;
}

std::string trackTitle(const MediaTrack& track, std::string_view displayLanguage) {
    std::string text = joinedLanguageNames(track, displayLanguage);
    if (const auto& title = track.title()) {
        text = fmt::format("{}: “{}”", text, *title);
    }
    const auto* subtitles = dynamic_cast<const SubtitlesTrack*>(&track);
    return subtitles != nullptr && subtitles->isExternal() ? fmt::format("[Added] {}", text) : text;
}

SelectedTracks selectionAfterChoosing(TrackRole role, const Track& track, SelectedTracks selected) {
    switch (role) {
    case TrackRole::video:
        withTrackOfType<VideoTrack>(track, [&](const auto& video) { selected.video = video; });
        break;
    case TrackRole::audio:
        withTrackOfType<AudioTrack>(
            track, [&](const auto& audio) { selected.audio = toggled(selected.audio, audio); });
        break;
    case TrackRole::primarySubtitles:
        withTrackOfType<SubtitlesTrack>(track, [&](const auto& subtitles) {
            chooseSubtitles(selected.primarySubtitles, selected.secondarySubtitles, subtitles);
        });
        break;
    case TrackRole::secondarySubtitles:
        withTrackOfType<SubtitlesTrack>(track, [&](const auto& subtitles) {
            chooseSubtitles(selected.secondarySubtitles, selected.primarySubtitles, subtitles);
        });
        break;
    }
    return selected;
}

} // namespace zelvane
