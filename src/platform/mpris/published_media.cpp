// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/mpris/published_media.h"

#include <utility>

namespace zelvane {

PublishedState PublishedMedia::state() const {
    const std::lock_guard guard(mutex_);
    return state_;
}

RemoteCommandHandlerStatus PublishedMedia::perform(RemoteCommand command,
                                                   const RemoteCommandEvent& event) const {
    std::unique_lock guard(mutex_);
    const auto found = targets_.find(command);
    const Handler handler = found == targets_.end() ? nullptr : found->second.handler;
    // The handler waits for the manager's queue, whose tasks take this lock.
    guard.unlock();
    return handler ? handler(event) : RemoteCommandHandlerStatus::noActionableNowPlayingItem;
}

void PublishedMedia::setNowPlayingInfo(const std::optional<NowPlayingInfo>& info) {
    const std::lock_guard guard(mutex_);
    state_.info = info;
    state_.time = HostClock::system()->now();
}

void PublishedMedia::setPlaybackState(NowPlayingPlaybackState playbackState) {
    {
        const std::lock_guard guard(mutex_);
        state_.playbackState = playbackState;
    }
    dispatch::mainQueue()->async([weakSelf = weak_from_this()] {
        const auto self = weakSelf.lock();
        if (self && self->didChange_) {
            self->didChange_();
        }
    });
}

void PublishedMedia::setEnabled(RemoteCommand command, bool isEnabled) {
    const std::lock_guard guard(mutex_);
    if (isEnabled) {
        state_.enabledCommands.insert(command);
    } else {
        state_.enabledCommands.erase(command);
    }
}

PublishedMedia::TargetToken PublishedMedia::addTarget(RemoteCommand command, Handler handler) {
    const std::lock_guard guard(mutex_);
    targets_[command] = {++lastToken_, std::move(handler)};
    return lastToken_;
}

void PublishedMedia::removeTarget(RemoteCommand command, TargetToken token) {
    const std::lock_guard guard(mutex_);
    const auto found = targets_.find(command);
    if (found != targets_.end() && found->second.token == token) {
        targets_.erase(found);
    }
}

} // namespace zelvane
