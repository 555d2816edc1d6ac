// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <vector>

#include "foundation/dispatch.h"
#include "foundation/host_clock.h"
#include "media_player/now_playing/now_playing_center.h"

namespace zelvane {

/// What was published last, and when.
struct PublishedState {
    std::optional<NowPlayingInfo> info = std::nullopt;
    NowPlayingPlaybackState playbackState = NowPlayingPlaybackState::stopped;
    std::set<RemoteCommand> enabledCommands = {};
    /// When `info` was true.
    HostTime time = HostTime::zero();
};

/// Keeps what the NowPlayingManager publishes for the main thread, and the handlers of commands.
/// Any thread, except where a line says otherwise.
class PublishedMedia final : public NowPlayingInfoCenter,
                             public RemoteCommandCenter,
                             public std::enable_shared_from_this<PublishedMedia> {
  public:
    PublishedState state() const;
    /// Called on the main queue after each change. Main thread.
    void setDidChange(dispatch::Task didChange) { didChange_ = std::move(didChange); }
    /// Calls the handler of a command. Main thread.
    RemoteCommandHandlerStatus perform(RemoteCommand command,
                                       const RemoteCommandEvent& event = {}) const;

    void setNowPlayingInfo(const std::optional<NowPlayingInfo>& info) override;
    void setPlaybackState(NowPlayingPlaybackState playbackState) override;
    void setEnabled(RemoteCommand command, bool isEnabled) override;
    /// The bus has no buttons.
    void setPreferredIntervals(RemoteCommand /*command*/,
                               const std::vector<double>& /*intervals*/) override {}
    TargetToken addTarget(RemoteCommand command, Handler handler) override;
    void removeTarget(RemoteCommand command, TargetToken token) override;

  private:
    struct Target {
        TargetToken token = 0;
        Handler handler;
    };

    mutable std::mutex mutex_;
    PublishedState state_;
    std::map<RemoteCommand, Target> targets_;
    TargetToken lastToken_ = 0;
    dispatch::Task didChange_;
};

} // namespace zelvane
