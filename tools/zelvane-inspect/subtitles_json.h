// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "json_text.h"
#include "media_player/decoders/subtitles/subtitles_frame.h"

namespace zelvane::inspect {

/// {"start", "end", "kind"}, and "text", "items" or "images" as the kind has it. Times are on the
/// file's own time line.
Json subtitlesFrameJson(const SubtitlesFrame& frame);

} // namespace zelvane::inspect
