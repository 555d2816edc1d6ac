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

/// Attaches a side file as the player does, and waits for the result. Throws
/// MediaSource::LoadError.
ExternalSubtitlesTracks attachSideFile(const std::shared_ptr<MediaSource>& source,
                                       const std::string& side);

/// The values of a side file's track, and "encoding": the character encoding of its text.
Json externalTrackJson(const ExternalSubtitlesTrack& track);

/// Receives the decoded packets of a side file.
struct SideFileReceiver {
    std::function<void(const SubtitlesFrame& frame)> frame;
    /// A packet whose frame cannot be shown, and its start in seconds.
    std::function<void(const std::exception& error, std::optional<double> start)> lost;
};

/// Opens the file, attaches the side file in --external, and decodes the track in --track, or the
/// first one, to its end. Throws MediaSource::LoadError, CommandError, FFmpegError.
void readExternalSubtitles(const Arguments& arguments, const SideFileReceiver& receiver);

/// With --user-style, uses the user's style instead of the styles in files.
void applyUserStyle(const Arguments& arguments);

} // namespace zelvane::inspect
