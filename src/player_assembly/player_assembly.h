// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>

#include "media_player/media_source/media_source.h"
#include "media_player/playback/default_track_selection.h"
#include "media_player/playback/media_player_environment.h"
#include "rendering/sample_buffer_audio_renderer.h"
#include "rendering/sample_buffer_display_layer.h"
#include "rendering/sample_buffer_render_synchronizer.h"

namespace zelvane {

enum class SoundOutput {
    /// The sound server, and silence on the monotonic clock for as long as there is none.
    soundServer,
    /// Silence.
    none,
};

/// The renderers and the clock of one player, for who has to reach behind the player's interfaces:
/// to give the display layer a surface, or to read statistics.
struct PlayerParts {
    std::shared_ptr<SampleBufferDisplayLayer> displayLayer;
    std::shared_ptr<SampleBufferAudioRenderer> audioRenderer;
    std::shared_ptr<SampleBufferRenderSynchronizer> renderSynchronizer;
};

PlayerParts makePlayerParts(SoundOutput soundOutput);

/// An environment whose factories hand out these parts: good for one player.
MediaPlayerEnvironment playerEnvironment(const PlayerParts& parts);

/// The tracks that this person would want, by what is set about captions.
TrackSelection defaultTracks(const MediaSource& source);

} // namespace zelvane
