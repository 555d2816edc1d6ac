// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "core_media/ffmpeg.h"

namespace zelvane {

// What decides how much probing, the second half of an opening, has to decode.

/// Whether a demuxer reads the format of QuickTime and MP4, whose header states the times of all
/// packets.
bool isMovieFile(const AVFormatContext& context);

/// Has probing do without those decoders for which `isLeftOut` says so, until allowAllDecoders().
/// Returns false, and changes nothing, when memory is short.
bool leaveDecodersOut(AVFormatContext& context, bool (*isLeftOut)(const AVCodec&));
void allowAllDecoders(AVFormatContext& context);

} // namespace zelvane
