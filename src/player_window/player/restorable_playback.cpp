// SPDX-License-Identifier: GPL-3.0-or-later
#include "player_window/player/restorable_playback.h"

#include <algorithm>
#include <memory>
#include <string_view>
#include <vector>

#include "player_window/controls/playback_rates.h"

namespace zelvane {
namespace {

constexpr std::string_view kVideoKey = "zelvane.MediaPlayer.selectedVideoTrack.id";
constexpr std::string_view kAudioKey = "zelvane.MediaPlayer.selectedAudioTrack.id";
constexpr std::string_view kPrimarySubtitlesKey =
    "zelvane.MediaPlayer.selectedPrimarySubtitlesTrack.id";
constexpr std::string_view kSecondarySubtitlesKey =
    "zelvane.MediaPlayer.selectedSecondarySubtitlesTrack.id";
constexpr std::string_view kCurrentTimeKey = "zelvane.MediaPlayer.currentTime";
constexpr std::string_view kDesiredPlaybackRateKey = "zelvane.MediaPlayer.desiredPlaybackRate";

void encodeTrack(const std::shared_ptr<MediaTrack>& track, std::string_view key,
                 StateCoder& coder) {
    if (track) {
        coder.encodeString(key, track->id());
    }
}

template <class Track>
std::shared_ptr<Track> decodeTrack(std::string_view key, const StateCoder& coder,
                                   const std::vector<std::shared_ptr<Track>>& tracks) {
    const auto id = coder.decodeString(key);
    const auto found =
        std::ranges::find_if(tracks, [&id](const auto& track) { return track->id() == id; });
    return found == tracks.end() ? nullptr : *found;
}

SelectedTracks decodeTracks(const StateCoder& coder, const SourceTracks& source,
                            const SelectedTracks& present) {
    SelectedTracks tracks;
    tracks.video = decodeTrack(kVideoKey, coder, source.video);
    if (!tracks.video) {
        tracks.video = present.video;
    }
    tracks.audio = decodeTrack(kAudioKey, coder, source.audio);
    tracks.primarySubtitles = decodeTrack(kPrimarySubtitlesKey, coder, source.subtitles);
    const auto secondary = decodeTrack(kSecondarySubtitlesKey, coder, source.subtitles);
    if (!tracks.primarySubtitles) {
        tracks.primarySubtitles = secondary;
    } else if (secondary != tracks.primarySubtitles) {
        tracks.secondarySubtitles = secondary;
    }
    return tracks;
}

} // namespace

void encodePlayback(const RestorablePlayback& playback, StateCoder& coder) {
    encodeTrack(playback.tracks.video, kVideoKey, coder);
    encodeTrack(playback.tracks.audio, kAudioKey, coder);
    encodeTrack(playback.tracks.primarySubtitles, kPrimarySubtitlesKey, coder);
    encodeTrack(playback.tracks.secondarySubtitles, kSecondarySubtitlesKey, coder);
    coder.encodeTime(kCurrentTimeKey, playback.currentTime);
    coder.encodeFloat(kDesiredPlaybackRateKey, playback.desiredPlaybackRate);
}

RestoredPlayback decodePlayback(const StateCoder& coder, const SourceTracks& source,
                                const SelectedTracks& present) {
    RestoredPlayback restored{decodeTracks(coder, source, present), std::nullopt, std::nullopt};
    restored.currentTime = coder.decodeTime(kCurrentTimeKey);
    const auto rate = coder.decodeFloat(kDesiredPlaybackRateKey);
    if (rate && isChoosableRate(*rate)) {
        restored.desiredPlaybackRate = rate;
    }
    return restored;
}

bool isChoosableRate(float rate) {
    return rate >= kPlaybackRates.front().rate && rate <= kPlaybackRates.back().rate;
}

} // namespace zelvane
