// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>
#include <fstream>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "media_player/media_source/media_source.h"
#include "tests/support/clips.h"

namespace zelvane::test {

using MediaSourceRef = std::shared_ptr<MediaSource>;

inline MediaSourceRef openSource(const std::filesystem::path& path) {
    return MediaSource::open(URL::fromPath(path), std::nullopt, true);
}

/// The load's failure; none when it succeeds.
inline std::optional<MediaSource::LoadError> loadError(const URL& url) {
    try {
        MediaSource::open(url, std::nullopt, true);
        return std::nullopt;
    } catch (const MediaSource::LoadError& error) {
        return error;
    }
}

inline std::filesystem::path written(const std::filesystem::path& path, const std::string& bytes) {
    std::ofstream(path, std::ios::binary) << bytes;
    return path;
}

inline std::shared_ptr<VideoTrack> firstVideoTrack(const MediaSource& source) {
    return source.videoTracks().empty() ? nullptr : source.videoTracks().front();
}

using TrackPacket = PacketSource::TrackPacket;

inline std::optional<TrackPacket> nextVisual(const MediaSourceRef& source,
                                             const std::shared_ptr<VideoTrack>& videoTrack,
                                             const SubtitlesTracks& subtitlesTracks = {}) {
    return source->visualTracksQueue()->sync(
        [&] { return source->readVisualPacket(videoTrack, subtitlesTracks); });
}

inline PacketRef nextAudio(const MediaSourceRef& source, const std::shared_ptr<AudioTrack>& track) {
    return source->audioTracksQueue()->sync([&] { return source->readAudioPacket(track); });
}

/// Reads the default video, all subtitles and the first audio track to their ends, or to the first
/// error; the number of packets.
inline std::size_t readToEnd(const MediaSourceRef& source) {
    std::size_t count = 0;
    try {
        while (nextVisual(source, firstVideoTrack(*source), source->subtitlesTracks())) {
            ++count;
        }
    } catch (const FFmpegError&) { // The stream ends here.
    }
    try {
        while (!source->audioTracks().empty() &&
               nextAudio(source, source->audioTracks().front()) != nullptr) {
            ++count;
        }
    } catch (const FFmpegError&) { // The stream ends here.
    }
    return count;
}

} // namespace zelvane::test
