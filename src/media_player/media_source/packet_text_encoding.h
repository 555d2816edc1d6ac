// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "media_player/media_source/packet_source.h"

namespace zelvane {

/// Reads all packets of the tracks that are text of an undeclared encoding, detects each encoding,
/// and sets it on the decoder. On a read error it logs the error and uses what has been read so
/// far. Returns whether it read anything, which moves the context. Call on the queue that owns the
/// context.
bool detectPacketEncodings(const SubtitlesTracks& tracks, AVFormatContext& context);

} // namespace zelvane
