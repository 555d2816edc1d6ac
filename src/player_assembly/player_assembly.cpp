// SPDX-License-Identifier: GPL-3.0-or-later
#include "player_assembly/player_assembly.h"

#include "foundation/locale.h"
#include "media_player/playback/external_subtitles_data_provider.h"
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

} // namespace

PlayerParts makePlayerParts(SoundOutput soundOutput) {
    return {std::make_shared<SampleBufferDisplayLayer>(),
            std::make_shared<SampleBufferAudioRenderer>(makeOutput(soundOutput)),
            std::make_shared<SampleBufferRenderSynchronizer>()};
}

MediaPlayerEnvironment playerEnvironment(const PlayerParts& parts) {
    MediaPlayerEnvironment environment;
    environment.makeDisplayLayer = [layer = parts.displayLayer] {
        return ClockedRenderer<VideoRendering>(layer);
    };
    environment.makeAudioRenderer = [renderer = parts.audioRenderer] {
        return ClockedRenderer<AudioRendering>(renderer);
    };
    environment.makeRenderSynchronizer = [synchronizer = parts.renderSynchronizer] {
        return synchronizer;
    };
    environment.makeExternalSubtitlesDataProvider = [](const auto& source, const auto& renderer) {
        return std::make_shared<ExternalSubtitlesDataProvider>(source, renderer);
    };
    return environment;
}

TrackSelection defaultTracks(const MediaSource& source) {
    TrackPreferences preferences;
    preferences.languages = preferredLanguagesFromEnvironment();
    return selectDefaultTracks(source.videoTracks(), source.audioTracks(), source.subtitlesTracks(),
                               preferences);
}

} // namespace zelvane
