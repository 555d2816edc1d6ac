// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "media_player/media_source/packet_source.h"

namespace zelvane {

/// Reads the packets of those of the tracks that are text of an encoding that nothing declares, to
/// the end, and gives each decoder the encoding that they tell. A failure is logged, and what has
/// been read until then decides. Returns whether anything had to be read: the context stands
/// somewhere else then. On the queue that owns the context.
bool detectPacketEncodings(const SubtitlesTracks& tracks, AVFormatContext& context);

} // namespace zelvane
