// SPDX-License-Identifier: GPL-3.0-or-later
#include "opened_media.h"

#include <algorithm>

#include <fmt/format.h>

#include "player_assembly/player_assembly.h"

namespace zelvane::inspect {
namespace {

template <class Track>
std::shared_ptr<Track> trackOfStream(const std::vector<std::shared_ptr<Track>>& tracks,
                                     double streamIndex, const char* kind) {
    const auto found = std::find_if(tracks.begin(), tracks.end(), [&](const auto& track) {
        return track->streamIndex() == streamIndex;
    });
    if (found == tracks.end()) {
        throw CommandError(fmt::format("stream {} is not a track of type {}", streamIndex, kind));
    }
    return *found;
}

} // namespace

std::shared_ptr<MediaSource> openMedia(const std::string& file) {
    const bool isURL = file.find("://") != std::string::npos;
    return MediaSource::open(isURL ? URL::parse(file) : URL::fromPath(file), std::nullopt, true);
}

CMTime targetFromSeconds(double seconds) {
    constexpr std::int32_t kMicroseconds = 1'000'000;
    return CMTime::fromSeconds(seconds, kMicroseconds) + CMTime(1, kMicroseconds);
}

std::shared_ptr<VideoTrack> chosenVideoTrack(const MediaSource& source,
                                             const Arguments& arguments) {
    if (const auto index = arguments.number("track")) {
        return trackOfStream(source.videoTracks(), *index, "video");
    }
    return defaultTracks(source).video;
}

std::shared_ptr<AudioTrack> chosenAudioTrack(const MediaSource& source,
                                             const Arguments& arguments) {
    if (const auto index = arguments.number("track")) {
        return trackOfStream(source.audioTracks(), *index, "audio");
    }
    return defaultTracks(source).audio;
}

} // namespace zelvane::inspect
