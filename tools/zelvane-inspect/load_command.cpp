// SPDX-License-Identifier: GPL-3.0-or-later
#include "commands.h"
#include "json_text.h"
#include "opened_media.h"

namespace zelvane::inspect {
namespace {

const char* name(MediaType mediaType) {
    switch (mediaType) {
    case MediaType::video:
        return "video";
    case MediaType::audio:
        return "audio";
    case MediaType::subtitles:
        return "subtitles";
    }
    return "";
}

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
    arguments.allow({});
    const auto source = openMedia(arguments.file());
    Json json;
    json["mediaType"] = name(source->mediaType());
    json["startTime"] = timeJson(source->startTime());
    json["duration"] = timeJson(source->duration());
    json["optionalMetadata"] = metadataJson(source->optionalMetadata());
    json["videoTracks"] = tracksJson(source->videoTracks());
    json["audioTracks"] = tracksJson(source->audioTracks());
    json["subtitlesTracks"] = tracksJson(source->subtitlesTracks());
    printLine(json);
    return 0;
}

} // namespace zelvane::inspect
