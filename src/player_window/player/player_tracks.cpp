// SPDX-License-Identifier: GPL-3.0-or-later
#include "player_window/player/player_tracks.h"

#include "foundation/locale.h"
#include "media_player/media_source/external_subtitles_track.h"

namespace zelvane {

SourceTracks tracksOf(const PlayableSource& source) {
    return {source.videoTracks(), source.audioTracks(), source.subtitlesTracks()};
}

SelectedTracks selectedTracksOf(const MediaPlayer& player) {
    return {player.selectedVideoTrack(), player.selectedAudioTrack(),
            player.selectedSubtitlesTrack(SubtitlesPosition::primary),
            player.selectedSubtitlesTrack(SubtitlesPosition::secondary)};
}

void selectTracks(MediaPlayer& player, const SelectedTracks& tracks) {
    const auto deselectIfMoved = [&](SubtitlesPosition position, const auto& wanted) {
        if (player.selectedSubtitlesTrack(position) != wanted) {
            player.setSelectedSubtitlesTrack(position, nullptr);
        }
    };
    player.setSelectedVideoTrack(tracks.video);
    player.setSelectedAudioTrack(tracks.audio);
    deselectIfMoved(SubtitlesPosition::primary, tracks.primarySubtitles);
    deselectIfMoved(SubtitlesPosition::secondary, tracks.secondarySubtitles);
    player.setSelectedSubtitlesTrack(SubtitlesPosition::primary, tracks.primarySubtitles);
    player.setSelectedSubtitlesTrack(SubtitlesPosition::secondary, tracks.secondarySubtitles);
}

std::optional<CGSize> effectiveVideoSizeOf(const MediaPlayer& player) {
    const auto track = player.selectedVideoTrack();
    return track ? std::optional(track->dimensions().effectiveSize) : std::nullopt;
}

QString titleOf(const PlayableSource& source) {
    const auto& title = source.optionalMetadata().title;
    return QString::fromStdString(title ? *title : source.url().lastPathComponent());
}

std::string displayLanguage() {
    return preferredLanguagesFromEnvironment().front();
}

QString noticeNameOf(const MediaTrack& track, const PlayableSource& source) {
    const auto* subtitles = dynamic_cast<const SubtitlesTrack*>(&track);
    if (const auto* external = subtitles == nullptr ? nullptr : subtitles->asExternal()) {
        return QString::fromStdString(external->externalMediaSource()->url().lastPathComponent());
    }
    const std::string language = displayLanguage();
    for (const auto& section : tracksMenu(tracksOf(source), {}, language)) {
        for (const auto& item : section.items) {
            if (item.track.get() == &track) {
                return QString::fromStdString(item.title);
            }
        }
    }
    return QString::fromStdString(trackTitle(track, language));
}

} // namespace zelvane
