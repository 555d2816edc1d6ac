// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>

#include "foundation/cm_time.h"
#include "foundation/state_coder.h"
#include "player_window/tracks/tracks_menu.h"

namespace zelvane {

/// What a player window brings back in the next run. Whether it played is not part of it: a
/// restored player is paused.
struct RestorablePlayback {
    SelectedTracks tracks;
    /// Since the start of the media.
    CMTime currentTime;
    float desiredPlaybackRate = 1;
};

void encodePlayback(const RestorablePlayback& playback, StateCoder& coder);

/// What to apply to a new player; an absent time or rate is left alone.
struct RestoredPlayback {
    SelectedTracks tracks;
    std::optional<CMTime> currentTime;
    std::optional<float> desiredPlaybackRate;
};

/// Looks the encoded tracks up among those of the source. An unknown video track leaves the
/// selection of `present`; any other unknown track is deselected. Subtitles at the top move to the
/// bottom when there are none. Times and rates that cannot be played are dropped.
RestoredPlayback decodePlayback(const StateCoder& coder, const SourceTracks& source,
                                const SelectedTracks& present);

/// Whether a rate from outside, such as the settings, is one that a person could have chosen.
bool isChoosableRate(float rate);

} // namespace zelvane
