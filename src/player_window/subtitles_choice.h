// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>
#include <optional>

#include <QString>

#include "media_player/media_source/packet_source.h"
#include "media_player/playback/media_player_environment.h"

namespace zelvane {

using SubtitlesTrackRef = std::shared_ptr<SubtitlesTrack>;

/// What a key goes through at one position: the tracks in their order and then none, round and
/// round; none also begins. The track that is shown at the other position is left out: whoever
/// looks for a second language shall not lose the first.
SubtitlesTrackRef nextSubtitlesTrack(SubtitlesTracks tracks, const SubtitlesTrackRef& current,
                                     const SubtitlesTrackRef& shownElsewhere);

/// Where a track that was just added is shown: at the bottom, or at the top when the bottom is
/// taken. None when it would take the place of another, or is shown already.
std::optional<SubtitlesPosition> freePositionFor(const SubtitlesTrackRef& track,
                                                 const SubtitlesTrackRef& primary,
                                                 const SubtitlesTrackRef& secondary);

/// What a person knows the track by: its languages and its title, as in "English/Chinese: “Signs”",
/// and whether it was added.
QString subtitlesTrackName(const SubtitlesTrack& track);

} // namespace zelvane
