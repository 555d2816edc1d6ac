// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "media_player/media_source/packet_source.h"

namespace zelvane {

/// The tracks of a source, those of its file before added ones.
struct SourceTracks {
    std::vector<std::shared_ptr<VideoTrack>> video;
    std::vector<std::shared_ptr<AudioTrack>> audio;
    SubtitlesTracks subtitles;
};

struct SelectedTracks {
    std::shared_ptr<VideoTrack> video = nullptr;
    std::shared_ptr<AudioTrack> audio = nullptr;
    std::shared_ptr<SubtitlesTrack> primarySubtitles = nullptr;
    std::shared_ptr<SubtitlesTrack> secondarySubtitles = nullptr;
    friend bool operator==(const SelectedTracks&, const SelectedTracks&) = default;
};

/// What an item of the menu chooses a track for.
enum class TrackRole { video, audio, primarySubtitles, secondarySubtitles };

struct TracksMenuItem {
    std::string title;
    bool isChecked = false;
    std::shared_ptr<MediaTrack> track;
};

struct TracksMenuSection {
    std::string_view header;
    TrackRole role = TrackRole::video;
    std::vector<TracksMenuItem> items;
};

/// The sections in their order. A source without video has none for subtitles; one subtitles track
/// has one section, several have one for each position. Equal titles in a section are numbered.
/// `displayLanguage` is a BCP 47 tag.
std::vector<TracksMenuSection> tracksMenu(const SourceTracks& tracks,
                                          const SelectedTracks& selected,
                                          std::string_view displayLanguage);

/// The languages and the title of a track, as in "English/Chinese: “Signs”", and whether it was
/// added.
std::string trackTitle(const MediaTrack& track, std::string_view displayLanguage);

/// The selection after an item was chosen. The checked item of sound or subtitles deselects its
/// track; a subtitles track that is at the other position moves. A track of the wrong kind changes
/// nothing.
SelectedTracks selectionAfterChoosing(TrackRole role, const std::shared_ptr<MediaTrack>& track,
                                      SelectedTracks selected);

} // namespace zelvane
