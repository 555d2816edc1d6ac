// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

#include "media_player/now_playing/now_playing_info.h"

namespace zelvane {

/// Shows the session what plays. Called on the queue of the NowPlayingManager, which must not wait
/// for another queue.
class NowPlayingInfoCenter {
  public:
    virtual ~NowPlayingInfoCenter() = default;
    virtual void setNowPlayingInfo(const std::optional<NowPlayingInfo>& info) = 0;
    /// Follows each setNowPlayingInfo().
    virtual void setPlaybackState(NowPlayingPlaybackState state) = 0;
};

enum class RemoteCommand {
    pause,
    play,
    stop,
    togglePlayPause,
    skipBackward,
    skipForward,
    changePlaybackPosition,
    changePlaybackRate,
    changeVolume,
};

inline constexpr std::array kRemoteCommands{
    RemoteCommand::pause,
    RemoteCommand::play,
    RemoteCommand::stop,
    RemoteCommand::togglePlayPause,
    RemoteCommand::skipBackward,
    RemoteCommand::skipForward,
    RemoteCommand::changePlaybackPosition,
    RemoteCommand::changePlaybackRate,
    RemoteCommand::changeVolume,
};

/// The argument of a command; each command uses at most one. Finite numbers.
struct RemoteCommandEvent {
    /// Seconds to skip.
    double interval = 0;
    /// Seconds from the start of the media.
    double positionTime = 0;
    float playbackRate = 1;
    /// 0…1.
    float volume = 1;
};

enum class RemoteCommandHandlerStatus { success = 0, noActionableNowPlayingItem = 110 };

/// Receives the session's commands and calls the handlers of them, on any thread but those of the
/// queues of the manager and of players. Its functions are called on the manager's queue, which
/// must not wait for another queue.
class RemoteCommandCenter {
  public:
    using Handler = std::function<RemoteCommandHandlerStatus(const RemoteCommandEvent&)>;
    using TargetToken = std::uint64_t;

    virtual ~RemoteCommandCenter() = default;
    virtual void setEnabled(RemoteCommand command, bool isEnabled) = 0;
    /// In seconds, for buttons of a skip command.
    virtual void setPreferredIntervals(RemoteCommand command,
                                       const std::vector<double>& intervals) = 0;
    virtual TargetToken addTarget(RemoteCommand command, Handler handler) = 0;
    virtual void removeTarget(RemoteCommand command, TargetToken token) = 0;
};

} // namespace zelvane
