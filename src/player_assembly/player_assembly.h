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
    /// The sound server; while there is none, silence on the monotonic clock.
    soundServer,
    /// Silence.
    none,
};

/// The renderers and the clock of one player, for code that needs the concrete classes: to set the
/// presenter of the display layer, or to read statistics.
struct PlayerParts {
    std::shared_ptr<SampleBufferDisplayLayer> displayLayer;
    std::shared_ptr<SampleBufferAudioRenderer> audioRenderer;
    std::shared_ptr<SampleBufferRenderSynchronizer> renderSynchronizer;
};

PlayerParts makePlayerParts(SoundOutput soundOutput);

/// The services of the session that all players use. The default ones do nothing.
struct SessionServices {
    std::shared_ptr<PowerManagement> powerManagement = std::make_shared<PowerManagement>();
    std::shared_ptr<ProcessInfo> processInfo = std::make_shared<ProcessInfo>();
    std::shared_ptr<NowPlayingRegistry> nowPlaying = std::make_shared<NowPlayingRegistry>();
    std::shared_ptr<NotificationCenter> workspaceNotificationCenter =
        std::make_shared<NotificationCenter>();

    /// Those of the process, which the application sets before it makes players. Main thread.
    static SessionServices& shared();
};

/// The environment of one player that consists of these parts, with the services of the process.
/// Main thread.
MediaPlayerEnvironment playerEnvironment(const PlayerParts& parts);

/// The default tracks of a source, from the user's settings of captions.
TrackSelection defaultTracks(const MediaSource& source);

} // namespace zelvane
