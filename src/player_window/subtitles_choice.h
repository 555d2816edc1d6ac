// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>
#include <optional>

#include <QString>

#include "media_player/playback/media_player.h"

namespace zelvane {

using SubtitlesTrackRef = std::shared_ptr<SubtitlesTrack>;

/// The tracks in their order and then none, round and round; none also begins. A current track that
/// is not among them is followed by none.
SubtitlesTrackRef nextSubtitlesTrack(const SubtitlesTracks& tracks,
                                     const SubtitlesTrackRef& current);

/// Where a track that was just added is shown: at the bottom, or at the top when the bottom is
/// taken. None when it would take the place of another, or is shown already.
std::optional<SubtitlesPosition> freePositionFor(const SubtitlesTrackRef& track,
                                                 const SubtitlesTrackRef& primary,
                                                 const SubtitlesTrackRef& secondary);

/// Shows the track, or none, at the position. It leaves the other position where it is shown there.
/// Main thread.
void selectSubtitlesTrack(MediaPlayer& player, SubtitlesPosition position,
                          const SubtitlesTrackRef& track);

/// What a person knows the track by: its languages and its title, as in "English/Chinese: “Signs”",
/// and whether it was added.
QString subtitlesTrackName(const SubtitlesTrack& track);

} // namespace zelvane
