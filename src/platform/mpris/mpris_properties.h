// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QDBusObjectPath>
#include <QString>
#include <QVariantMap>

#include "platform/mpris/published_media.h"

namespace zelvane {

// What the bus says about a published state. Times on the bus are in microseconds. Any thread.

inline constexpr double kMprisMinimumRate = 0.5;
inline constexpr double kMprisMaximumRate = 2;

/// The properties of org.mpris.MediaPlayer2.Player that announce their changes. `artUrl` is empty
/// when there is no artwork.
QVariantMap mprisPlayerProperties(const PublishedState& state, const QString& artUrl);

/// Identifies the medium as long as its window exists.
QDBusObjectPath mprisTrackId(const NowPlayingInfo& info);

/// Where the medium is at `now`: the session is told the position only when it jumps.
qlonglong mprisPositionAt(const PublishedState& state, HostTime now);

/// Whether the position has changed in another way than by playing since `old` was published.
bool mprisPositionDidJump(const PublishedState& old, const PublishedState& now);

qlonglong mprisLength(const NowPlayingInfo& info);

} // namespace zelvane
