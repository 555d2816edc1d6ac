// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "media_player/media_source/media_track.h"

namespace zelvane {

/// What the user asked the system for.
struct TrackPreferences {
    /// Canonical, best first.
    std::vector<std::string> languages;
    /// What subtitles should contain besides the words.
    MediaCharacteristics captioningCharacteristics;
    /// What the sound should contain besides the sound of the film.
    MediaCharacteristics audibleCharacteristics;
};

/// The tracks that a player starts with; each may be null.
struct TrackSelection {
    std::shared_ptr<VideoTrack> video;
    std::shared_ptr<AudioTrack> audio;
    std::shared_ptr<SubtitlesTrack> primarySubtitles;
    std::shared_ptr<SubtitlesTrack> secondarySubtitles;
};

/// The selection where the user has made none: sound in a preferred language, and subtitles where
/// no sound has one, or where the preferences ask for them.
TrackSelection
selectDefaultTracks(const std::vector<std::shared_ptr<VideoTrack>>& videoTracks,
                    const std::vector<std::shared_ptr<AudioTrack>>& audioTracks,
                    const std::vector<std::shared_ptr<SubtitlesTrack>>& subtitlesTracks,
                    const TrackPreferences& preferences);

} // namespace zelvane
