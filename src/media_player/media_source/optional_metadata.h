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

/// What a media file says about itself. Texts are UTF-8; any field can be empty. A value.
struct OptionalMetadata {
    OptionalMetadata() = default;
    /// From a container's dictionary, which may be null. What makes no sense is logged and left
    /// out.
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

/// The first of the pictures attached to a container that makes an image; null when none does,
/// after a log line for each. Used by the queue that owns the context.
ImageRef findArtwork(const AVFormatContext& context);

} // namespace zelvane
