// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <nlohmann/json.hpp>

#include "core_media/cv_attachments.h"
#include "foundation/cm_time.h"
#include "media_player/media_source/media_source.h"

namespace zelvane::inspect {

/// Keys stay in the order in which they are set, so that people can read the output.
using Json = nlohmann::ordered_json;

/// {"value", "timescale"}; null for a time that is no number.
Json timeJson(const CMTime& time);
/// Seconds from the media's start; null for a time that is no number.
Json secondsJson(const CMTime& time, const CMTime& start);
/// Seconds of a span; null when it is unknown.
Json secondsJson(const CMTime& span);

Json trackJson(const VideoTrack& track);
Json trackJson(const AudioTrack& track);
Json trackJson(const SubtitlesTrack& track);
/// With the artwork as its size, what it was encoded as, and a digest of its pixels.
Json metadataJson(const MediaSource::OptionalMetadata& metadata);
Json attachmentsJson(const CVAttachments& attachments);
Json loadErrorJson(const MediaSource::LoadError& error);

/// One line on standard output.
void printLine(const Json& json);

} // namespace zelvane::inspect
