// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <exception>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "core_media/ffmpeg_time.h"
#include "foundation/uuid.h"
#include "media_player/media_source/media_source.h"

namespace zelvane {

/// The result of a load, from which a source is made.
struct MediaSource::Contents {
    std::string id = makeUUIDString();
    URL url;
    InputFormatContexts contexts;
    CMTime startTime{};
    CMTime duration{};
    std::vector<std::shared_ptr<VideoTrack>> videoTracks{};
    std::vector<std::shared_ptr<AudioTrack>> audioTracks{};
    SubtitlesTracks subtitlesTracks{};
    OptionalMetadata optionalMetadata{};
    MediaChapters chapters{};
    std::optional<std::string> textEncoding{};
    std::optional<TextPackets> textPackets{};
    bool isSeekable = true;
};

/// Throws LoadError.
void requireFileURL(const URL& url);

/// Times of the container's header. Throws LoadError when a required duration is missing.
CMTime startTimeOf(const AVFormatContext& context);
CMTime durationOf(const AVFormatContext& context, const std::optional<CMTime>& fallbackDuration,
                  bool isDurationRequired);

MediaType mediaTypeOf(const std::vector<std::shared_ptr<VideoTrack>>& videoTracks,
                      const std::vector<std::shared_ptr<AudioTrack>>& audioTracks);

/// Appends the track that `make` returns. Returns false when the stream is of another kind or
/// cannot be decoded.
template <class Track, class Make>
bool appended(std::vector<std::shared_ptr<Track>>& tracks, Make&& make) {
    try {
        tracks.push_back(make());
        return true;
    } catch (const Error&) {
        return false;
    }
}

/// Runs `load`, and returns its failure as the error of a load.
template <class Load>
std::optional<MediaSourceLoadError> loadErrorOf(const URL& url, Load&& load) {
    try {
        load();
        return std::nullopt;
    } catch (const MediaSourceLoadError& error) {
        return error;
    } catch (const std::exception&) {
        return MediaSourceLoadError::failedToOpenURL(url, std::current_exception());
    }
}

} // namespace zelvane
