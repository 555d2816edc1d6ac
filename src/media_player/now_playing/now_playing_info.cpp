// SPDX-License-Identifier: GPL-3.0-or-later
#include "media_player/now_playing/now_playing_info.h"

#include "media_player/playback/media_player.h"

namespace zelvane {

NowPlayingInfo staticInformation(const PlayableSource& source) {
    const OptionalMetadata& metadata = source.optionalMetadata();
    NowPlayingInfo info;
    info.externalContentIdentifier = source.id();
    info.assetURL = source.url();
    info.mediaType =
        source.videoTracks().empty() ? NowPlayingMediaType::audio : NowPlayingMediaType::video;
    info.playbackDuration = source.duration().seconds();
    info.title = metadata.title.value_or(source.url().lastPathComponent());
    info.artist = metadata.artist;
    info.composer = metadata.composer;
    info.albumTitle = metadata.albumTitle;
    info.artwork = metadata.artwork;
    info.lyrics = metadata.lyrics;
    info.genre = metadata.genre;
    return info;
}

void addDynamicInformation(const MediaPlayer& player, NowPlayingInfo& info) {
    info.elapsedPlaybackTime = player.currentTime().seconds();
    info.playbackRate = player.rate();
    info.defaultPlaybackRate = player.desiredPlaybackRate();
    info.volume = player.isMuted() ? 0 : player.volume();
}

} // namespace zelvane
