// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>

#include "arguments.h"
#include "foundation/cm_time.h"
#include "media_player/media_source/media_source.h"

namespace zelvane::inspect {

/// Opens a file by its path, or a URL with a scheme. Throws MediaSource::LoadError.
std::shared_ptr<MediaSource> openMedia(const std::string& file);

/// Where to seek for what a command line calls `seconds`. Times are written down with six places,
/// and then the start of a frame may lie before the frame by half of the last: a target means the
/// frame that begins no more than this after it.
CMTime targetFromSeconds(double seconds);

/// The track that --track names, or the one that would be played. Null when there is none at all;
/// throws UsageError when the named stream is no such track.
std::shared_ptr<VideoTrack> chosenVideoTrack(const MediaSource& source, const Arguments& arguments);
std::shared_ptr<AudioTrack> chosenAudioTrack(const MediaSource& source, const Arguments& arguments);

} // namespace zelvane::inspect
