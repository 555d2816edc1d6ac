// SPDX-License-Identifier: GPL-3.0-or-later
#include "media_player/playback/default_track_selection.h"

#include <algorithm>
#include <iterator>

namespace zelvane {
namespace {

struct Requirements {
    bool isLanguageMatchRequired = false;
    MediaCharacteristics characteristics;
    bool areCharacteristicsRequired = false;
};

template <class Track>
struct BestTrack {
    std::shared_ptr<Track> track;
    bool didMatchLanguage = false;
};

template <class Track>
using Tracks = std::vector<std::shared_ptr<Track>>;

/// Keeps the tracks for which `wanted` holds, or all of them when it holds for none. Returns
/// whether it held for any.
template <class Track, class Predicate>
bool narrow(Tracks<Track>& candidates, Predicate wanted) {
    Tracks<Track> kept;
    std::copy_if(candidates.begin(), candidates.end(), std::back_inserter(kept),
                 [&](const auto& track) { return wanted(*track); });
    if (kept.empty()) {
        return false;
    }
    candidates = std::move(kept);
    return true;
}

template <class Track>
bool narrowToLanguage(Tracks<Track>& candidates, const std::vector<std::string>& languages) {
    return std::any_of(languages.begin(), languages.end(), [&](const std::string& language) {
        return narrow(candidates, [&](const Track& track) {
            const auto& codes = track.languageCodes();
            return std::find(codes.begin(), codes.end(), language) != codes.end();
        });
    });
}

template <class Track>
BestTrack<Track> bestTrack(Tracks<Track> candidates, const std::vector<std::string>& languages,
                           const Requirements& requirements = {}) {
    if (candidates.empty()) {
        return {};
    }
    const bool didMatchLanguage = narrowToLanguage(candidates, languages);
    if (!didMatchLanguage && requirements.isLanguageMatchRequired) {
        return {};
    }
    const bool haveCharacteristics = narrow(candidates, [&](const Track& track) {
        return track.mediaCharacteristics().contains(requirements.characteristics);
    });
    if (!haveCharacteristics && requirements.areCharacteristicsRequired) {
        return {nullptr, didMatchLanguage};
    }
    narrow(candidates, [](const Track& track) { return track.isForced(); });
    narrow(candidates, [](const Track& track) { return track.isDefault(); });
    return {candidates.front(), didMatchLanguage};
}

std::shared_ptr<SubtitlesTrack> accessibilityTrack(const Tracks<SubtitlesTrack>& tracks,
                                                   const TrackPreferences& preferences,
                                                   MediaCharacteristics wanted) {
    if (!preferences.captioningCharacteristics.contains(wanted)) {
        return nullptr;
    }
    return bestTrack(tracks, preferences.languages, {true, wanted, true}).track;
}

void selectAccessibilitySubtitles(const Tracks<SubtitlesTrack>& tracks,
                                  const TrackPreferences& preferences, TrackSelection& selection) {
    constexpr MediaCharacteristics kDialog{
        MediaCharacteristics::transcribesSpokenDialogForAccessibility};
    constexpr MediaCharacteristics kSounds{
        MediaCharacteristics::describesMusicAndSoundForAccessibility};
    auto dialog = accessibilityTrack(tracks, preferences, kDialog);
    const bool doesDialogDescribeSounds =
        dialog && dialog->mediaCharacteristics().contains(kSounds);
    auto sounds =
        doesDialogDescribeSounds ? nullptr : accessibilityTrack(tracks, preferences, kSounds);
    if (!dialog) {
        std::swap(dialog, sounds);
    }
    selection.primarySubtitles = std::move(dialog);
    selection.secondarySubtitles = std::move(sounds);
}

} // namespace

TrackSelection selectDefaultTracks(const Tracks<VideoTrack>& videoTracks,
                                   const Tracks<AudioTrack>& audioTracks,
                                   const Tracks<SubtitlesTrack>& subtitlesTracks,
                                   const TrackPreferences& preferences) {
    constexpr MediaCharacteristics kDescribesVideo{
        MediaCharacteristics::describesVideoForAccessibility};
    Requirements audioRequirements;
    if (preferences.audibleCharacteristics.contains(kDescribesVideo)) {
        audioRequirements.characteristics = kDescribesVideo;
    }
    TrackSelection selection;
    selection.video = bestTrack(videoTracks, preferences.languages).track;
    const auto audio = bestTrack(audioTracks, preferences.languages, audioRequirements);
    selection.audio = audio.track;
    selectAccessibilitySubtitles(subtitlesTracks, preferences, selection);
    if (!selection.primarySubtitles && !audio.didMatchLanguage) {
        selection.primarySubtitles =
            bestTrack(subtitlesTracks, preferences.languages, {true, {}, false}).track;
    }
    return selection;
}

} // namespace zelvane
