// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include "foundation/dispatch.h"
#include "foundation/notification_center.h"
#include "media_player/now_playing/now_playing_center.h"
#include "media_player/playback/media_player.h"

namespace zelvane {

/// Presents the player that was used last to the session, and passes the session's commands to it.
/// Any notification of a player is a use of it. Any thread, except tasks of players' queues for the
/// functions that say so.
///
/// Order of locks: its queue, then a player's queue. A player therefore never waits for this queue.
class NowPlayingManager final : public NowPlayingRegistry,
                                public std::enable_shared_from_this<NowPlayingManager> {
    struct Key {};

  public:
    /// Calls its argument when the windows of the last run are back; at once if they are. Main
    /// queue.
    using AfterRestoration = std::function<void(dispatch::Task)>;

    /// Disables all commands and shows nothing.
    static std::shared_ptr<NowPlayingManager>
    create(std::shared_ptr<NowPlayingInfoCenter> infoCenter,
           std::shared_ptr<RemoteCommandCenter> commandCenter, AfterRestoration afterRestoration);
    NowPlayingManager(Key key, std::shared_ptr<NowPlayingInfoCenter> infoCenter,
                      std::shared_ptr<RemoteCommandCenter> commandCenter,
                      AfterRestoration afterRestoration);

    void registerMediaPlayer(const std::shared_ptr<MediaPlayer>& player) override;
    void unregisterMediaPlayer(const MediaPlayer& player) override;

    /// The presented player; may be null. Not in tasks of players' queues.
    std::shared_ptr<MediaPlayer> currentMediaPlayer() const;

  private:
    using Method = void (NowPlayingManager::*)();
    using HandleCommand = void (*)(MediaPlayer&, const RemoteCommandEvent&);

    struct RegisteredPlayer {
        /// The destructor of a player can name it only by its address.
        const MediaPlayer* identity = nullptr;
        std::weak_ptr<MediaPlayer> player;
        std::vector<NotificationObserver> observers;
    };
    struct RemoteCommandConfiguration;

    static const std::vector<RemoteCommandConfiguration>& remoteCommandConfigurations();

    void mediaPlayerDidChange(const void* identity);
    void update();
    void updateNow();
    void clear();
    void publish();
    std::shared_ptr<MediaPlayer> mostRecentlyUsedMediaPlayer() const;

    void installRemoteCommands();
    void removeRemoteCommands();
    RemoteCommandHandlerStatus perform(HandleCommand handleCommand,
                                       const RemoteCommandEvent& event);

    const std::shared_ptr<NowPlayingInfoCenter> infoCenter_;
    const std::shared_ptr<RemoteCommandCenter> commandCenter_;
    const AfterRestoration afterRestoration_;
    const std::shared_ptr<dispatch::Queue> queue_;

    // These belong to the queue.
    std::vector<RegisteredPlayer> mediaPlayersSortedByLeastRecentlyUsed_;
    std::weak_ptr<MediaPlayer> currentMediaPlayer_;
    std::vector<std::pair<RemoteCommand, RemoteCommandCenter::TargetToken>>
        remoteCommandAndTargetPairs_;
    std::optional<NowPlayingInfo> nowPlayingInfo_;
    NowPlayingPlaybackState playbackState_ = NowPlayingPlaybackState::stopped;
};

} // namespace zelvane
