// SPDX-License-Identifier: GPL-3.0-or-later
#include "media_player/media_source/optional_metadata.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <span>
#include <string_view>
#include <utility>

#include "core_media/ffmpeg_error.h"
#include "core_media/ffmpeg_handles.h"
#include "foundation/log.h"
#include "foundation/text.h"

namespace zelvane {
namespace {

std::optional<std::string> text(const AVDictionary* metadata, const char* key) {
    const AVDictionaryEntry* const entry = av_dict_get(metadata, key, nullptr, 0);
    if (entry == nullptr || entry->value == nullptr) {
        return std::nullopt;
    }
    return repairedUTF8(entry->value);
}

std::optional<std::string> text(const AVDictionary* metadata, const char* key,
                                const char* otherKey) {
    auto found = text(metadata, key);
    return found ? found : text(metadata, otherKey);
}

/// None unless the whole text is a number.
std::optional<std::int64_t> decimalNumber(std::string_view digits) {
    if (digits.substr(0, 1) == "+" && digits.substr(1, 1) != "-") {
        digits.remove_prefix(1);
    }
    std::int64_t number = 0;
    const auto [end, error] = std::from_chars(digits.begin(), digits.end(), number);
    return error == std::errc() && end == digits.end() ? std::optional(number) : std::nullopt;
}

std::optional<std::int64_t> integer(const AVDictionary* metadata, const char* key) {
    const auto value = text(metadata, key);
    if (!value) {
        return std::nullopt;
    }
    const auto number = decimalNumber(*value);
    if (!number) {
        logMessage("Metadata value for key `{}` is not an integer: \"{}\".", key, *value);
    }
    return number;
}

std::optional<std::int64_t> year(const AVDictionary* metadata, const char* key) {
    const auto value = text(metadata, key);
    if (!value) {
        return std::nullopt;
    }
    const std::string_view whole = *value;
    const auto number = decimalNumber(whole.substr(0, whole.find_first_not_of("0123456789")));
    if (!number) {
        logMessage("Metadata value for key `{}` is not a date: \"{}\".", key, *value);
    }
    return number;
}

struct Subtype {
    MPMediaType type;
    const char* name;
};

namespace subtype {
constexpr Subtype kMusic{MPMediaType::music, "music"};
constexpr Subtype kPodcast{MPMediaType::podcast, "podcast"};
constexpr Subtype kAudioBook{MPMediaType::audioBook, "audioBook"};
constexpr Subtype kAudioITunesU{MPMediaType::audioITunesU, "audioITunesU"};
constexpr Subtype kMovie{MPMediaType::movie, "movie"};
constexpr Subtype kTVShow{MPMediaType::tvShow, "tvShow"};
constexpr Subtype kVideoPodcast{MPMediaType::videoPodcast, "videoPodcast"};
constexpr Subtype kMusicVideo{MPMediaType::musicVideo, "musicVideo"};
constexpr Subtype kVideoITunesU{MPMediaType::videoITunesU, "videoITunesU"};
constexpr Subtype kHomeVideo{MPMediaType::homeVideo, "homeVideo"};
} // namespace subtype

/// One value of the atom in which iTunes keeps the media kind, and what it is in a source of each
/// type; null where it doesn't belong. Subtitles take every kind.
struct ITunesMediaKind {
    std::int64_t value;
    const Subtype* inVideo;
    const Subtype* inAudio;
    const Subtype* inSubtitles;
};

constexpr std::array kITunesMediaKinds{
    ITunesMediaKind{0, &subtype::kHomeVideo, nullptr, &subtype::kHomeVideo},
    ITunesMediaKind{1, nullptr, &subtype::kMusic, &subtype::kMusic},
    ITunesMediaKind{2, nullptr, &subtype::kAudioBook, &subtype::kAudioBook},
    ITunesMediaKind{6, &subtype::kMusicVideo, nullptr, &subtype::kMusicVideo},
    ITunesMediaKind{9, &subtype::kMovie, nullptr, &subtype::kMovie},
    ITunesMediaKind{10, &subtype::kTVShow, nullptr, &subtype::kTVShow},
    ITunesMediaKind{21, &subtype::kVideoPodcast, &subtype::kPodcast, &subtype::kPodcast},
    ITunesMediaKind{23, &subtype::kVideoITunesU, &subtype::kAudioITunesU, &subtype::kVideoITunesU},
};

const Subtype* subtypeOf(const ITunesMediaKind& kind, MediaType mediaType) {
    switch (mediaType) {
    case MediaType::video:
        return kind.inVideo;
    case MediaType::audio:
        return kind.inAudio;
    case MediaType::subtitles:
        break;
    }
    return kind.inSubtitles;
}

std::optional<MPMediaType> mediaSubtypeOf(const AVDictionary* metadata, MediaType mediaType) {
    const auto value = integer(metadata, "media_type");
    if (!value) {
        return std::nullopt;
    }
    const auto* const kind =
        std::find_if(kITunesMediaKinds.begin(), kITunesMediaKinds.end(),
                     [&](const ITunesMediaKind& known) { return known.value == *value; });
    if (kind == kITunesMediaKinds.end()) {
        logMessage("Unrecognized iTunes media type: {}.", *value);
        return std::nullopt;
    }
    const Subtype* const subtype = subtypeOf(*kind, mediaType);
    if (subtype == nullptr) {
        logMessage("Ignoring `{}` subtype because it is not part of the `{}` umbrella media type.",
                   kind->inSubtitles->name, nameOf(mediaType));
        return std::nullopt;
    }
    return subtype->type;
}

/// A packet that shares the stream's picture; null when there is none.
ffmpeg::AVPacketHandle referenceToPicture(const AVStream& stream) {
    // A damaged file may announce a picture and have none; the library does not accept null.
    ffmpeg::BufferRef reference(
        stream.attached_pic.buf == nullptr ? nullptr : av_buffer_ref(stream.attached_pic.buf));
    if (reference == nullptr) {
        return nullptr;
    }
    ffmpeg::AVPacketHandle packet(checkedFFmpegAllocation(av_packet_alloc()));
    packet->data = stream.attached_pic.data;
    packet->size = stream.attached_pic.size;
    packet->buf = reference.release();
    return packet;
}

ImageRef artworkOf(const AVStream& stream) {
    if ((stream.disposition & AV_DISPOSITION_ATTACHED_PIC) == 0) {
        return nullptr;
    }
    const auto picture = referenceToPicture(stream);
    if (picture == nullptr) {
        logMessage("Failed to create reference to buffer when loading artwork.");
        return nullptr;
    }
    auto image = decodeImage(*picture);
    if (image == nullptr) {
        logMessage("Failed to load artwork image from data encoded by codec ID {}.",
                   static_cast<int>(stream.codecpar->codec_id));
    }
    return image;
}

} // namespace

OptionalMetadata::OptionalMetadata(MediaType mediaType, const AVDictionary* metadata,
                                   ImageRef artworkImage)
    : mediaSubtype(mediaSubtypeOf(metadata, mediaType)),
      title(text(metadata, "title", "sort_name")), shortDescription(text(metadata, "description")),
      fullDescription(text(metadata, "synopsis")), artist(text(metadata, "artist", "sort_artist")),
      composer(text(metadata, "composer", "sort_composer")),
      albumTitle(text(metadata, "album", "sort_album")),
      showTitle(text(metadata, "show", "sort_show")),
      seasonNumber(integer(metadata, "season_number")),
      episodeNumber(integer(metadata, "episode_sort")), artwork(std::move(artworkImage)),
      lyrics(text(metadata, "lyrics")), releaseYear(year(metadata, "date")),
      genre(text(metadata, "genre")), copyright(text(metadata, "copyright")) {}

const AVDictionary* metadataOf(const AVFormatContext& context) {
    const auto streams = std::span(context.streams, context.nb_streams);
    const auto sound = std::find_if(streams.begin(), streams.end(), [](const AVStream* stream) {
        return stream->codecpar->codec_type == AVMEDIA_TYPE_AUDIO;
    });
    return av_dict_count(context.metadata) == 0 && sound != streams.end() ? (*sound)->metadata
                                                                          : context.metadata;
}

ImageRef findArtwork(const AVFormatContext& context) {
    for (const AVStream* stream : std::span(context.streams, context.nb_streams)) {
        if (auto image = artworkOf(*stream)) {
            return image;
        }
    }
    return nullptr;
}

} // namespace zelvane
