// SPDX-License-Identifier: GPL-3.0-or-later
#include "player_assembly/player_assembly.h"

#include <algorithm>
#include <utility>

#include "media_player/decoders/subtitles/caption_appearance.h"
#include "media_player/decoders/subtitles/subtitle_text_style_manager.h"
#include "platform/pulse_audio/pulse_audio_output.h"
#include "rendering/fallback_audio_output.h"
#include "rendering/null_audio_output.h"

namespace zelvane {
namespace {

std::unique_ptr<AudioOutput> makeOutput(SoundOutput soundOutput) {
    auto silence = std::make_unique<NullAudioOutput>();
    if (soundOutput == SoundOutput::none) {
        return silence;
    }
    return std::make_unique<FallbackAudioOutput>(std::make_unique<PulseAudioOutput>(),
                                                 std::move(silence));
}

bool contains(const std::vector<std::string>& names, std::string_view name) {
    return std::find(names.begin(), names.end(), name) != names.end();
}

TrackPreferences trackPreferences(const CaptionAppearance& appearance) {
    TrackPreferences preferences;
    preferences.languages = appearance.selectedLanguages();
    const auto captioning = appearance.preferredCaptioningCharacteristics();
    if (contains(captioning, CaptionAppearance::kTranscribesSpokenDialog)) {
        preferences.captioningCharacteristics.insert(
            MediaCharacteristics::transcribesSpokenDialogForAccessibility);
    }
    if (contains(captioning, CaptionAppearance::kDescribesMusicAndSound)) {
        preferences.captioningCharacteristics.insert(
            MediaCharacteristics::describesMusicAndSoundForAccessibility);
    }
    if (contains(appearance.preferredAudibleCharacteristics(),
                 CaptionAppearance::kDescribesVideo)) {
        preferences.audibleCharacteristics.insert(
            MediaCharacteristics::describesVideoForAccessibility);
    }
    return preferences;
}

} // namespace

PlayerParts makePlayerParts(SoundOutput soundOutput) {
    return {std::make_shared<SampleBufferDisplayLayer>(),
            std::make_shared<SampleBufferAudioRenderer>(makeOutput(soundOutput)),
            std::make_shared<SampleBufferRenderSynchronizer>()};
}

SessionServices& SessionServices::shared() {
    static SessionServices services;
    return services;
}

MediaPlayerEnvironment playerEnvironment(const PlayerParts& parts) {
    MediaPlayerEnvironment environment{parts.displayLayer, parts.audioRenderer,
                                       parts.renderSynchronizer};
    environment.textStyleUpdateNotifier = SubtitleTextStyleUpdateNotifier::shared();
    const SessionServices& services = SessionServices::shared();
    environment.powerManagement = services.powerManagement;
    environment.processInfo = services.processInfo;
    environment.nowPlaying = services.nowPlaying;
    environment.workspaceNotificationCenter = services.workspaceNotificationCenter;
    return environment;
}

TrackSelection defaultTracks(const MediaSource& source) {
    return selectDefaultTracks(source.videoTracks(), source.audioTracks(), source.subtitlesTracks(),
                               trackPreferences(CaptionAppearance::shared()));
}

} // namespace zelvane
