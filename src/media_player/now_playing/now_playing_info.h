// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>
#include <string>

#include "core_media/image.h"
#include "foundation/url.h"

namespace zelvane {

class MediaPlayer;
class PlayableSource;

enum class NowPlayingMediaType : unsigned { audio = 1, video = 2 };

enum class NowPlayingPlaybackState : unsigned { playing = 1, paused = 2, stopped = 3 };

/// What the session shows of a player. Times are in seconds, relative to the media's start.
struct NowPlayingInfo {
    // Of the source; these never change. Empty where the metadata has no value.
    std::string externalContentIdentifier;
    URL assetURL = URL::parse("");
    NowPlayingMediaType mediaType = NowPlayingMediaType::video;
    double playbackDuration = 0;
    std::string title;
    std::optional<std::string> artist;
    std::optional<std::string> composer;
    std::optional<std::string> albumTitle;
    ImageRef artwork;
    std::optional<std::string> lyrics;
    std::optional<std::string> genre;

    // Of the player.
    double elapsedPlaybackTime = 0;
    /// 0 while the player is paused.
    float playbackRate = 0;
    /// The rate of playback when the player plays.
    float defaultPlaybackRate = 1;
    /// 0…1; 0 while the sound is muted.
    float volume = 1;

    friend bool operator==(const NowPlayingInfo&, const NowPlayingInfo&) = default;
};

/// The part of the source. Any thread.
NowPlayingInfo staticInformation(const PlayableSource& source);

/// Adds the part of the player. On the player's queue.
void addDynamicInformation(const MediaPlayer& player, NowPlayingInfo& info);

} // namespace zelvane
