// SPDX-License-Identifier: GPL-3.0-or-later
#include "player_window/player/track_choice.h"

#include <algorithm>

namespace zelvane {
namespace {

std::shared_ptr<SubtitlesTrack>& mutableSubtitlesAt(SelectedTracks& tracks,
                                                    SubtitlesPosition position) {
    return position == SubtitlesPosition::primary ? tracks.primarySubtitles
                                                  : tracks.secondarySubtitles;
}

} // namespace

const std::shared_ptr<SubtitlesTrack>& subtitlesAt(const SelectedTracks& tracks,
                                                   SubtitlesPosition position) {
    return position == SubtitlesPosition::primary ? tracks.primarySubtitles
                                                  : tracks.secondarySubtitles;
}

SelectedTracks selectionAfterCyclingSubtitles(SubtitlesPosition position, SubtitlesTracks tracks,
                                              SelectedTracks selected) {
    std::erase(tracks, subtitlesAt(selected, otherPosition(position)));
    std::shared_ptr<SubtitlesTrack>& current = mutableSubtitlesAt(selected, position);
    auto next = tracks.begin();
    if (current) {
        next = std::ranges::find(tracks, current);
        next = next == tracks.end() ? next : next + 1;
    }
    current = next == tracks.end() ? nullptr : *next;
    return selected;
}

SelectedTracks selectionAfterCyclingAudio(const std::vector<std::shared_ptr<AudioTrack>>& tracks,
                                          SelectedTracks selected) {
    if (tracks.empty()) {
        return selected;
    }
    const auto current = std::ranges::find(tracks, selected.audio);
    const bool isLast = current == tracks.end() || current + 1 == tracks.end();
    selected.audio = isLast ? tracks.front() : *(current + 1);
    return selected;
}

SelectedTracks selectionAfterAdding(const std::shared_ptr<SubtitlesTrack>& track,
                                    SelectedTracks selected) {
    const bool isSelected =
        track == selected.primarySubtitles || track == selected.secondarySubtitles;
    if (isSelected) {
        return selected;
    }
    if (!selected.primarySubtitles) {
        selected.primarySubtitles = track;
    } else if (!selected.secondarySubtitles) {
        selected.secondarySubtitles = track;
    }
    return selected;
}

} // namespace zelvane
