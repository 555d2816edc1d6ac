// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <memory>
#include <string_view>
#include <utility>

#include "foundation/automatic_termination_manager.h"
#include "foundation/idle_sleep_manager.h"
#include "foundation/notification_center.h"
#include "media_player/media_source/packet_source.h"
#include "media_player/playback/data_providing.h"
#include "media_player/playback/null_subtitles_renderer.h"
#include "rendering/queued_sample_buffer_rendering.h"
#include "rendering/render_synchronizer.h"

namespace zelvane {

class MediaPlayer;

/// One renderer by its two sides: the one that a provider feeds and the one that the clock leads.
template <class Rendering>
struct ClockedRenderer {
    /// From a renderer that has both sides.
    template <class Renderer>
    ClockedRenderer(const std::shared_ptr<Renderer>& renderer)
        : rendering(renderer), synchronized(renderer) {}

    std::shared_ptr<Rendering> rendering;
    std::shared_ptr<SynchronizedRenderer> synchronized;
};

enum class SubtitlesPosition {
    /// At the bottom.
    primary,
    /// At the top.
    secondary,
};

/// Presents players to the session and passes its commands to the one used last. This one has no
/// session. Any thread.
class NowPlayingRegistry {
  public:
    virtual ~NowPlayingRegistry() = default;
    virtual void registerMediaPlayer(const std::shared_ptr<MediaPlayer>& /*player*/) {}
    /// Called by the destructor of the player, of which nothing but the address may be used.
    virtual void unregisterMediaPlayer(const MediaPlayer& /*player*/) {}
};

/// Tells the system that this application plays, while it does. This one asks nobody. Any thread.
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

/// Posted on the workspace's centre before the machine sleeps.
inline constexpr std::string_view kWorkspaceWillSleepNotification =
    "NSWorkspaceWillSleepNotification";
/// Posted on the workspace's centre when another user's session comes to the front.
inline constexpr std::string_view kWorkspaceSessionDidResignActiveNotification =
    "NSWorkspaceSessionDidResignActiveNotification";

/// Everything that a player gets from the floors above and beside it. The first three make one new
/// object per player and have no default; all factories are called on the main queue.
struct MediaPlayerEnvironment {
    using SubtitlesRendererFactory = std::function<std::shared_ptr<SubtitlesRenderer>(
        const std::shared_ptr<RenderSynchronizer>& renderSynchronizer, const CMTime& startTime,
        SubtitlesPosition position)>;
    using SubtitlesDataProviderFactory = std::function<std::shared_ptr<SubtitlesDataProvider>(
        const std::shared_ptr<PacketSource>& mediaSource,
        const std::shared_ptr<SubtitlesRenderer>& subtitlesRenderer)>;
    /// Calls its argument, on any thread, when the user's text style has changed, for as long as
    /// the result lives.
    using TextStyleObservation = std::function<std::shared_ptr<void>(std::function<void()>)>;

    std::function<ClockedRenderer<VideoRendering>()> makeDisplayLayer;
    std::function<ClockedRenderer<AudioRendering>()> makeAudioRenderer;
    std::function<std::shared_ptr<RenderSynchronizer>()> makeRenderSynchronizer;

    SubtitlesRendererFactory makeSubtitlesRenderer = [](const auto&, const auto&, auto) {
        return std::make_shared<NullSubtitlesRenderer>();
    };
    SubtitlesDataProviderFactory makeExternalSubtitlesDataProvider = [](const auto&, const auto&) {
        return std::make_shared<NullSubtitlesDataProvider>();
    };
    TextStyleObservation observeUserSpecifiedTextStyle = [](const auto&) { return nullptr; };

    std::shared_ptr<PowerManagement> powerManagement = std::make_shared<PowerManagement>();
    std::shared_ptr<ProcessInfo> processInfo = std::make_shared<ProcessInfo>();
    std::shared_ptr<NowPlayingRegistry> nowPlaying = std::make_shared<NowPlayingRegistry>();
    std::shared_ptr<AudioRoutingOwnership> audioRouting = std::make_shared<AudioRoutingOwnership>();
    std::shared_ptr<NotificationCenter> workspaceNotificationCenter =
        std::make_shared<NotificationCenter>();
};

} // namespace zelvane
