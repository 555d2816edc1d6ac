// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>

#include "foundation/automatic_termination_manager.h"
#include "foundation/idle_sleep_manager.h"
#include "foundation/notification_center.h"
#include "foundation/workspace_notifications.h"
#include "media_player/decoders/subtitles/subtitle_text_style_manager.h"
#include "media_player/playback/null_subtitles_renderer.h"
#include "rendering/queued_sample_buffer_rendering.h"
#include "rendering/render_synchronizer.h"

namespace zelvane {

class MediaPlayer;

/// One renderer by its two interfaces: the one that a provider feeds and the one that the clock
/// drives.
template <class Rendering>
struct ClockedRenderer {
    /// From a renderer that has both interfaces.
    template <class Renderer>
    ClockedRenderer(const std::shared_ptr<Renderer>& renderer)
        : rendering(renderer), synchronized(renderer) {}

    std::shared_ptr<Rendering> rendering;
    std::shared_ptr<SynchronizedRenderer> synchronized;
};

/// Presents players to the session and passes the session's commands to the player used last. This
/// implementation does nothing. Any thread.
class NowPlayingRegistry {
  public:
    virtual ~NowPlayingRegistry() = default;
    virtual void registerMediaPlayer(const std::shared_ptr<MediaPlayer>& /*player*/) {}
    /// Called by the destructor of the player, of which only the address may be used.
    virtual void unregisterMediaPlayer(const MediaPlayer& /*player*/) {}
};

/// Claims audio routing while this application plays. This implementation claims nothing. Any
/// thread.
class AudioRoutingOwnership {
  public:
    virtual ~AudioRoutingOwnership() = default;
    /// Runs `completion` on `queue` once the system has answered, whatever it answers.
    virtual void requestOwnership(const std::shared_ptr<dispatch::Queue>& queue,
                                  dispatch::Task completion) {
        queue->async(std::move(completion));
    }
    /// Balances one requestOwnership.
    virtual void releaseOwnership() {}
};

/// What one player consists of and works with. The first three have no default. The default
/// subtitles renderers show nothing; the default services do nothing.
struct MediaPlayerEnvironment {
    ClockedRenderer<VideoRendering> displayLayer;
    ClockedRenderer<AudioRendering> audioRenderer;
    std::shared_ptr<RenderSynchronizer> renderSynchronizer;
    /// Their times are those of the file's own time line.
    std::shared_ptr<SubtitlesRenderer> primarySubtitlesRenderer =
        std::make_shared<NullSubtitlesRenderer>();
    std::shared_ptr<SubtitlesRenderer> secondarySubtitlesRenderer =
        std::make_shared<NullSubtitlesRenderer>();

    /// Reports changes of the user's text style; may be null.
    std::shared_ptr<SubtitleTextStyleUpdateNotifier> textStyleUpdateNotifier = nullptr;
    std::shared_ptr<PowerManagement> powerManagement = std::make_shared<PowerManagement>();
    std::shared_ptr<ProcessInfo> processInfo = std::make_shared<ProcessInfo>();
    std::shared_ptr<NowPlayingRegistry> nowPlaying = std::make_shared<NowPlayingRegistry>();
    std::shared_ptr<AudioRoutingOwnership> audioRouting = std::make_shared<AudioRoutingOwnership>();
    std::shared_ptr<NotificationCenter> workspaceNotificationCenter =
        std::make_shared<NotificationCenter>();
};

} // namespace zelvane
