// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>

#include "arguments.h"
#include "foundation/cm_time.h"
#include "media_player/media_source/media_source.h"

namespace zelvane::inspect {

/// Opens a path, or a URL with a scheme. Throws MediaSource::LoadError.
std::shared_ptr<MediaSource> openMedia(const std::string& file);

/// The seek target for a time on the command line. A frame's start written with six decimal places
/// can be up to half a microsecond before the frame, so the target is one microsecond later.
CMTime targetFromSeconds(double seconds);

/// The track of the stream in --track, or the default track; null if the file has none. Throws
/// CommandError when that stream is not such a track.
std::shared_ptr<VideoTrack> chosenVideoTrack(const MediaSource& source, const Arguments& arguments);
std::shared_ptr<AudioTrack> chosenAudioTrack(const MediaSource& source, const Arguments& arguments);

} // namespace zelvane::inspect
