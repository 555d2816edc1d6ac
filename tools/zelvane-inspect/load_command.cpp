// SPDX-License-Identifier: GPL-3.0-or-later
#include <chrono>

#include "commands.h"
#include "json_text.h"
#include "opened_media.h"
#include "process_usage.h"
#include "side_file.h"

namespace zelvane::inspect {
namespace {

template <class Tracks>
Json tracksJson(const Tracks& tracks) {
    Json json = Json::array();
    for (const auto& track : tracks) {
        json.push_back(trackJson(*track));
    }
    return json;
}

} // namespace

int runLoad(const Arguments& arguments) {
    arguments.allow({"external"});
    const auto source = openMedia(arguments.file());
    ExternalSubtitlesTracks external;
    const auto begin = std::chrono::steady_clock::now();
    if (const auto side = arguments.text("external")) {
        external = attachSideFile(source, *side);
    }
    const std::chrono::duration<double> attaching = std::chrono::steady_clock::now() - begin;
    Json json;
    json["mediaType"] = nameOf(source->mediaType());
    json["startTime"] = timeJson(source->startTime());
    json["duration"] = timeJson(source->duration());
    json["optionalMetadata"] = metadataJson(source->optionalMetadata());
    json["videoTracks"] = tracksJson(source->videoTracks());
    json["audioTracks"] = tracksJson(source->audioTracks());
    json["subtitlesTracks"] = tracksJson(source->subtitlesTracks());
    if (!external.empty()) {
        json["externalSubtitlesTracks"] = Json::array();
        for (const auto& track : external) {
            json["externalSubtitlesTracks"].push_back(externalTrackJson(*track));
        }
        json["attachSeconds"] = attaching.count();
        json["peakMemory"] = ProcessUsage::now().peakMemory;
    }
    printLine(json);
    return 0;
}

} // namespace zelvane::inspect
