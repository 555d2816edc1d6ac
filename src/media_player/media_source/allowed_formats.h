// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>

#include "core_media/ffmpeg_handles.h"

namespace zelvane {

// Only formats that hold their own media are demuxed: a playlist or a network description under
// another name could make the player read any file of the user, or connect to a host. Call before
// avformat_open_input().

/// Names of the demuxers that may read the file at `path`: those of formats that hold their own
/// media, and the one of the playlist format that the path's extension states. Separated by commas.
std::string allowedFormats(const std::string& path);

/// Restricts a context that is not open yet to the allowed formats, and what they read to local
/// files. Returns false when memory is short.
bool restrictToAllowedFormats(AVFormatContext& context, const std::string& path);

/// Options that have a demuxer read the named file alone: a number or wildcard in the name of a
/// picture is not a pattern for others.
ffmpeg::Dictionary singleFileOptions();

} // namespace zelvane
