// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "json_text.h"
#include "media_player/decoders/subtitles/subtitles_frame.h"

namespace zelvane::inspect {

/// {"start", "end", "kind"} and, depending on the kind, "text", "items" or "images". Times are on
/// the file's timeline.
Json subtitlesFrameJson(const SubtitlesFrame& frame);

} // namespace zelvane::inspect
