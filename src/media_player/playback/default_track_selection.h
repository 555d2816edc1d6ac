// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "media_player/media_source/media_track.h"

namespace zelvane {

/// What a person asked the system for.
struct TrackPreferences {
    /// Canonical, best first.
    std::vector<std::string> languages;
    /// What subtitles shall tell beside the words.
    MediaCharacteristics captioningCharacteristics;
    /// What the sound shall tell beside itself.
    MediaCharacteristics audibleCharacteristics;
};

/// The tracks that a player begins with.
struct TrackSelection {
    std::shared_ptr<VideoTrack> video;
    std::shared_ptr<AudioTrack> audio;
    std::shared_ptr<SubtitlesTrack> primarySubtitles;
    std::shared_ptr<SubtitlesTrack> secondarySubtitles;
};

/// Chooses what plays when nobody has chosen: sound in a language that the person speaks, and
/// subtitles where there is none, or where the person needs them.
TrackSelection
selectDefaultTracks(const std::vector<std::shared_ptr<VideoTrack>>& videoTracks,
                    const std::vector<std::shared_ptr<AudioTrack>>& audioTracks,
                    const std::vector<std::shared_ptr<SubtitlesTrack>>& subtitlesTracks,
                    const TrackPreferences& preferences);

} // namespace zelvane
