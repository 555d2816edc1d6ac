// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>
#include <string>

#include <QString>

#include "foundation/geometry.h"
#include "media_player/playback/media_player.h"
#include "player_window/tracks/tracks_menu.h"

namespace zelvane {

// What a window shows and chooses of a player: its tracks and their names. Main thread.

SourceTracks tracksOf(const PlayableSource& source);
SelectedTracks selectedTracksOf(const MediaPlayer& player);

/// Selects what differs. A subtitles track leaves one position before it is selected at the other.
void selectTracks(MediaPlayer& player, const SelectedTracks& tracks);

/// Of the picture as it is seen; none without a selected video track.
std::optional<CGSize> effectiveVideoSizeOf(const MediaPlayer& player);

/// The title of a source, or its file name without one.
QString titleOf(const PlayableSource& source);

/// The BCP 47 tag of the language of the window's texts.
std::string displayLanguage();

/// The name of a track in a notice: its title in the menu, or the name of its side file, as few of
/// these state their language.
QString noticeNameOf(const MediaTrack& track, const PlayableSource& source);

} // namespace zelvane
