// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "core_media/ffmpeg.h"
#include "core_media/image.h"
#include "media_player/decoders/common/media_type.h"
#include "media_player/media_source/mp_media_type.h"

namespace zelvane {

/// The metadata of a media file. Texts are UTF-8; any field can be empty. A value.
struct OptionalMetadata {
    OptionalMetadata() = default;
    /// From a dictionary, which may be null. Invalid values are logged and left out.
    OptionalMetadata(MediaType mediaType, const AVDictionary* metadata, ImageRef artwork);

    std::optional<MPMediaType> mediaSubtype;
    std::optional<std::string> title;
    std::optional<std::string> shortDescription;
    std::optional<std::string> fullDescription;
    std::optional<std::string> artist;
    std::optional<std::string> composer;
    std::optional<std::string> albumTitle;
    std::optional<std::string> showTitle;
    std::optional<std::int64_t> seasonNumber;
    std::optional<std::int64_t> episodeNumber;
    /// Null when there is none.
    ImageRef artwork;
    std::optional<std::string> lyrics;
    std::optional<std::int64_t> releaseYear;
    std::optional<std::string> genre;
    std::optional<std::string> copyright;
};

/// The tags of a container, or of its first audio stream when the container has none, as in Ogg.
/// May be null. Used by the queue that owns the context.
const AVDictionary* metadataOf(const AVFormatContext& context);

/// The first attached picture that can be decoded; null when there is none. Logs each picture that
/// cannot. Used by the queue that owns the context.
ImageRef findArtwork(const AVFormatContext& context);

} // namespace zelvane
