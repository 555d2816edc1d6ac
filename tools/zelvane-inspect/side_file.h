// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "arguments.h"
#include "json_text.h"
#include "media_player/media_source/media_source.h"

namespace zelvane::inspect {

/// Attaches a side file as the player does, and waits for it. Throws MediaSource::LoadError.
ExternalSubtitlesTracks attachSideFile(const std::shared_ptr<MediaSource>& source,
                                       const std::string& side);

/// The facts of a track of a side file, and "encoding": what its text is written in.
Json externalTrackJson(const ExternalSubtitlesTrack& track);

/// What becomes of the packets of a side file.
struct SideFileReceiver {
    std::function<void(const SubtitlesFrame& frame)> frame;
    /// A packet whose frame cannot be shown, and where it would have begun, in seconds.
    std::function<void(const std::exception& error, std::optional<double> start)> lost;
};

/// Opens the file, attaches the side file that --external names, and decodes to its end the track
/// that --track names, or the first. Throws MediaSource::LoadError, UsageError, FFmpegError.
void readExternalSubtitles(const Arguments& arguments, const SideFileReceiver& receiver);

/// With --user-style, puts the person's style in the place of what files ask for.
void applyUserStyle(const Arguments& arguments);

} // namespace zelvane::inspect
