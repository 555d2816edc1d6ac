// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <nlohmann/json.hpp>

#include "core_media/cv_attachments.h"
#include "foundation/cm_time.h"
#include "media_player/media_source/media_source.h"

namespace zelvane::inspect {

/// Keeps keys in the order in which they are set, for readable output.
using Json = nlohmann::ordered_json;

/// {"value", "timescale"}; null for a time that is not numeric.
Json timeJson(const CMTime& time);
/// Seconds from the media's start; null for a time that is not numeric.
Json secondsJson(const CMTime& time, const CMTime& start);
/// A duration in seconds; null when it is unknown.
Json secondsJson(const CMTime& span);

Json trackJson(const VideoTrack& track);
Json trackJson(const AudioTrack& track);
Json trackJson(const SubtitlesTrack& track);
/// Artwork is given by its size, its coded format and a digest of its pixels.
Json metadataJson(const MediaSource::OptionalMetadata& metadata);
Json attachmentsJson(const CVAttachments& attachments);
Json loadErrorJson(const MediaSource::LoadError& error);

/// Prints one line on standard output.
void printLine(const Json& json);

} // namespace zelvane::inspect
