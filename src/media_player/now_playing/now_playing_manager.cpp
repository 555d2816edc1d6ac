// SPDX-License-Identifier: GPL-3.0-or-later
#include "media_player/now_playing/now_playing_manager.h"

#include <algorithm>
#include <cstdint>

namespace zelvane {
namespace {

/// A position that a session states in microseconds is exact at this timescale.
constexpr std::int32_t kMicroseconds = 1'000'000;

} // namespace

struct NowPlayingManager::RemoteCommandConfiguration {
    RemoteCommand command;
    std::vector<double> preferredIntervals;
    HandleCommand handleCommand;
};

const std::vector<NowPlayingManager::RemoteCommandConfiguration>&
NowPlayingManager::remoteCommandConfigurations() {
    using Player = MediaPlayer;
    using Event = RemoteCommandEvent;
    static const std::vector<double> intervals{10, 15, 30};
    static const std::vector<RemoteCommandConfiguration> configurations{
        {RemoteCommand::pause, {}, [](Player& player, const Event&) { player.pause(); }},
        {RemoteCommand::play, {}, [](Player& player, const Event&) { player.play(); }},
        // The player has no state without a position.
        {RemoteCommand::stop, {}, [](Player& player, const Event&) { player.pause(); }},
        {RemoteCommand::togglePlayPause,
         {},
         [](Player& player, const Event&) { player.togglePlayPause(); }},
        {RemoteCommand::skipBackward, intervals,
         [](Player& player, const Event& event) {
             player.seekBy(Player::Seconds{-event.interval});
         }},
        {RemoteCommand::skipForward, intervals,
         [](Player& player, const Event& event) {
             player.seekBy(Player::Seconds{event.interval});
         }},
        {RemoteCommand::changePlaybackPosition,
         {},
         [](Player& player, const Event& event) {
             player.seekTo(CMTime::fromSeconds(event.positionTime, kMicroseconds));
         }},
        {RemoteCommand::changePlaybackRate,
         {},
         [](Player& player, const Event& event) {
             player.setDesiredPlaybackRate(event.playbackRate);
         }},
        {RemoteCommand::changeVolume,
         {},
         [](Player& player, const Event& event) {
             player.setMuted(false);
             player.setVolume(event.volume);
         }},
    };
    return configurations;
}

std::shared_ptr<NowPlayingManager>
NowPlayingManager::create(std::shared_ptr<NowPlayingInfoCenter> infoCenter,
                          std::shared_ptr<RemoteCommandCenter> commandCenter,
                          AfterRestoration afterRestoration) {
    auto manager = std::make_shared<NowPlayingManager>(
        Key{}, std::move(infoCenter), std::move(commandCenter), std::move(afterRestoration));
    manager->queue_->async([manager] {
        for (const RemoteCommand command : kRemoteCommands) {
            manager->commandCenter_->setEnabled(command, false);
        }
        manager->publish();
    });
    return manager;
}

NowPlayingManager::NowPlayingManager(Key /*key*/, std::shared_ptr<NowPlayingInfoCenter> infoCenter,
                                     std::shared_ptr<RemoteCommandCenter> commandCenter,
                                     AfterRestoration afterRestoration)
    : infoCenter_(std::move(infoCenter)), commandCenter_(std::move(commandCenter)),
      afterRestoration_(std::move(afterRestoration)),
      queue_(dispatch::makeSerialQueue("Now Playing Manager Queue",
                                       dispatch::QualityOfService::userInitiated)) {}

void NowPlayingManager::registerMediaPlayer(const std::shared_ptr<MediaPlayer>& player) {
    const auto didChange = [weakSelf = weak_from_this()](const Notification& notification) {
        if (const auto self = weakSelf.lock()) {
            self->mediaPlayerDidChange(notification.object);
        }
    };
    auto observers = std::make_shared<std::vector<NotificationObserver>>(
        player->observeNotifications(queue_, didChange));
    queue_->async([self = shared_from_this(), identity = player.get(),
                   weakPlayer = std::weak_ptr(player), observers] {
        self->mediaPlayersSortedByLeastRecentlyUsed_.push_back(
            {identity, weakPlayer, std::move(*observers)});
    });
    update();
}

void NowPlayingManager::unregisterMediaPlayer(const MediaPlayer& player) {
    queue_->async([self = shared_from_this(), identity = &player] {
        std::erase_if(self->mediaPlayersSortedByLeastRecentlyUsed_,
                      [&](const RegisteredPlayer& each) { return each.identity == identity; });
    });
    update();
}

void NowPlayingManager::mediaPlayerDidChange(const void* identity) {
    auto& players = mediaPlayersSortedByLeastRecentlyUsed_;
    const auto found = std::ranges::find(players, identity, &RegisteredPlayer::identity);
    if (found != players.end()) {
        std::rotate(found, std::next(found), players.end());
        update();
    }
}

std::shared_ptr<MediaPlayer> NowPlayingManager::currentMediaPlayer() const {
    return queue_->sync([this] { return currentMediaPlayer_.lock(); });
}

/// By way of the main queue, to which the restoration of windows belongs.
void NowPlayingManager::update() {
    dispatch::mainQueue()->async([weakSelf = weak_from_this()] {
        const auto self = weakSelf.lock();
        if (!self) {
            return;
        }
        self->afterRestoration_([weakSelf] {
            if (const auto restored = weakSelf.lock()) {
                restored->queue_->async([restored] { restored->updateNow(); });
            }
        });
    });
}

void NowPlayingManager::updateNow() {
    const auto player = mostRecentlyUsedMediaPlayer();
    if (!player) {
        clear();
        return;
    }
    if (currentMediaPlayer_.lock() != player) {
        currentMediaPlayer_ = player;
        installRemoteCommands();
        nowPlayingInfo_ = staticInformation(*player->mediaSource());
    }
    player->queue()->sync([&] {
        addDynamicInformation(*player, *nowPlayingInfo_);
        playbackState_ = player->isPlaying() ? NowPlayingPlaybackState::playing
                                             : NowPlayingPlaybackState::paused;
    });
    publish();
}

void NowPlayingManager::clear() {
    currentMediaPlayer_.reset();
    removeRemoteCommands();
    nowPlayingInfo_.reset();
    playbackState_ = NowPlayingPlaybackState::stopped;
    publish();
}

void NowPlayingManager::publish() {
    infoCenter_->setNowPlayingInfo(nowPlayingInfo_);
    infoCenter_->setPlaybackState(playbackState_);
}

std::shared_ptr<MediaPlayer> NowPlayingManager::mostRecentlyUsedMediaPlayer() const {
    const auto& players = mediaPlayersSortedByLeastRecentlyUsed_;
    for (auto each = players.rbegin(); each != players.rend(); ++each) {
        // A player that is being destroyed is in the list until its removal runs on the queue.
        if (auto player = each->player.lock()) {
            return player;
        }
    }
    return nullptr;
}

void NowPlayingManager::installRemoteCommands() {
    removeRemoteCommands();
    for (const auto& configuration : remoteCommandConfigurations()) {
        commandCenter_->setEnabled(configuration.command, true);
        if (!configuration.preferredIntervals.empty()) {
            commandCenter_->setPreferredIntervals(configuration.command,
                                                  configuration.preferredIntervals);
        }
        const auto token = commandCenter_->addTarget(
            configuration.command,
            [weakSelf = weak_from_this(), handle = configuration.handleCommand](const auto& event) {
                const auto self = weakSelf.lock();
                return self ? self->perform(handle, event)
                            : RemoteCommandHandlerStatus::noActionableNowPlayingItem;
            });
        remoteCommandAndTargetPairs_.emplace_back(configuration.command, token);
    }
}

void NowPlayingManager::removeRemoteCommands() {
    for (const auto& [command, token] : remoteCommandAndTargetPairs_) {
        commandCenter_->removeTarget(command, token);
        commandCenter_->setEnabled(command, false);
    }
    remoteCommandAndTargetPairs_.clear();
}

RemoteCommandHandlerStatus NowPlayingManager::perform(HandleCommand handleCommand,
                                                      const RemoteCommandEvent& event) {
    const auto status = queue_->sync([&] {
        const auto player = currentMediaPlayer_.lock();
        if (!player) {
            return RemoteCommandHandlerStatus::noActionableNowPlayingItem;
        }
        player->queue()->sync([&] { handleCommand(*player, event); });
        return RemoteCommandHandlerStatus::success;
    });
    // A paused player announces no change of the rate at which it will play.
    update();
    return status;
}

} // namespace zelvane
