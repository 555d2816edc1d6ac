// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>
#include <vector>

#include "media_player/playback/subtitles_position.h"
#include "player_window/tracks/tracks_menu.h"

namespace zelvane {

const std::shared_ptr<SubtitlesTrack>& subtitlesAt(const SelectedTracks& tracks,
                                                   SubtitlesPosition position);

/// The selection after the key of one position: its tracks in their order, then none, then again
/// the first. The track at the other position is skipped: a second language must not hide the
/// first.
SelectedTracks selectionAfterCyclingSubtitles(SubtitlesPosition position, SubtitlesTracks tracks,
                                              SelectedTracks selected);

/// The selection with the next track of sound, with the first after the last.
SelectedTracks selectionAfterCyclingAudio(const std::vector<std::shared_ptr<AudioTrack>>& tracks,
                                          SelectedTracks selected);

/// The selection when `track` was just added: it takes the bottom, or the top when the bottom is in
/// use. It replaces no other track and does not move.
SelectedTracks selectionAfterAdding(const std::shared_ptr<SubtitlesTrack>& track,
                                    SelectedTracks selected);

} // namespace zelvane
