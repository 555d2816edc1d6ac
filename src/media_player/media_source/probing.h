// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "core_media/ffmpeg.h"

namespace zelvane {

// Limits what probing, the second step of an opening, decodes.

/// Whether a demuxer reads the QuickTime and MP4 format, whose header states the times of all
/// packets.
bool isMovieFile(const AVFormatContext& context);

/// Whether a demuxer reads an MPEG transport or program stream, which has no index and may be read
/// from any byte on.
bool isMPEGStream(const AVFormatContext& context);

/// Excludes the decoders for which `isLeftOut` returns true from probing, until allowAllDecoders().
/// Returns false, and changes nothing, when memory is short.
bool leaveDecodersOut(AVFormatContext& context, bool (*isLeftOut)(const AVCodec&));
void allowAllDecoders(AVFormatContext& context);

} // namespace zelvane
