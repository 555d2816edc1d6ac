// SPDX-License-Identifier: GPL-3.0-or-later
#include "json_text.h"

#include <cstdio>
#include <string>
#include <type_traits>
#include <variant>

#include <fmt/format.h>

#include "digest.h"

namespace zelvane::inspect {
namespace {

template <class Value>
Json optionalJson(const std::optional<Value>& value) {
    return value ? Json(*value) : Json(nullptr);
}

Json rationalJson(AVRational rational) {
    return {{"num", rational.num}, {"den", rational.den}};
}

Json sizeJson(const CGSize& size) {
    return {{"width", size.width}, {"height", size.height}};
}

Json transformJson(const std::optional<CGAffineTransform>& transform) {
    if (!transform) {
        return nullptr;
    }
    return {{"a", transform->a}, {"b", transform->b},   {"c", transform->c},
            {"d", transform->d}, {"tx", transform->tx}, {"ty", transform->ty}};
}

Json characteristicsJson(MediaCharacteristics characteristics) {
    Json names = Json::array();
    const auto name = [&](MediaCharacteristics::Bit bit, const char* text) {
        if (characteristics.contains({bit})) {
            names.push_back(text);
        }
    };
    name(MediaCharacteristics::describesVideoForAccessibility, "describesVideoForAccessibility");
    name(MediaCharacteristics::transcribesSpokenDialogForAccessibility,
         "transcribesSpokenDialogForAccessibility");
    name(MediaCharacteristics::describesMusicAndSoundForAccessibility,
         "describesMusicAndSoundForAccessibility");
    return names;
}

Json factsJson(const MediaTrack& track) {
    return {{"id", track.id()},
            {"streamIndex", track.streamIndex()},
            {"streamTimeBase", rationalJson(track.streamTimeBase())},
            {"languageCodes", track.languageCodes()},
            {"title", optionalJson(track.title())},
            {"isForced", track.isForced()},
            {"isDefault", track.isDefault()},
            {"mediaCharacteristics", characteristicsJson(track.mediaCharacteristics())}};
}

Json dimensionsJson(const VideoDimensions& dimensions) {
    return {{"width", dimensions.width},
            {"height", dimensions.height},
            {"pixelAspectRatio", dimensions.pixelAspectRatio},
            {"displayTransform", transformJson(dimensions.displayTransform)},
            {"squarePixelSize", sizeJson(dimensions.squarePixelSize)},
            {"effectiveSize", sizeJson(dimensions.effectiveSize)},
            {"aspectRatio", dimensions.aspectRatio}};
}

Json attachmentJson(const CVAttachmentValue& value) {
    return std::visit(
        [](const auto& held) -> Json {
            using Held = std::decay_t<decltype(held)>;
            if constexpr (std::is_same_v<Held, std::vector<std::uint8_t>>) {
                return hexText(held);
            } else if constexpr (std::is_same_v<Held, PixelAspectRatio>) {
                return {{"horizontalSpacing", held.horizontalSpacing},
                        {"verticalSpacing", held.verticalSpacing}};
            } else if constexpr (std::is_same_v<Held, CGColorSpaceRef>) {
                return held == nullptr ? Json(nullptr) : Json(held->name());
            } else {
                return held;
            }
        },
        value);
}

Json imageJson(const ImageRef& image) {
    if (image == nullptr) {
        return nullptr;
    }
    Digest digest;
    digest.add(image->pixels);
    return {{"width", image->width},
            {"height", image->height},
            {"format", image->format},
            {"sha256", digest.finish()}};
}

} // namespace

Json timeJson(const CMTime& time) {
    if (!time.isNumeric()) {
        return nullptr;
    }
    return {{"value", time.value()}, {"timescale", time.timescale()}};
}

Json secondsJson(const CMTime& time, const CMTime& start) {
    return secondsJson(time - start);
}

Json secondsJson(const CMTime& span) {
    return span.isNumeric() ? Json(span.seconds()) : Json(nullptr);
}

Json trackJson(const VideoTrack& track) {
    Json json = factsJson(track);
    json["dimensions"] = dimensionsJson(track.dimensions());
    json["frameRate"] = track.frameRate() ? rationalJson(*track.frameRate()) : Json(nullptr);
    Json embedded = Json::array();
    for (const auto& subtitles : track.embeddedSubtitlesTracks()) {
        embedded.push_back(trackJson(*subtitles));
    }
    json["embeddedSubtitlesTracks"] = std::move(embedded);
    return json;
}

Json trackJson(const AudioTrack& track) {
    return factsJson(track);
}

Json trackJson(const SubtitlesTrack& track) {
    return factsJson(track);
}

Json metadataJson(const MediaSource::OptionalMetadata& metadata) {
    const auto& subtype = metadata.mediaSubtype;
    return {{"mediaSubtype", subtype ? Json(subtype->rawValue()) : Json(nullptr)},
            {"title", optionalJson(metadata.title)},
            {"shortDescription", optionalJson(metadata.shortDescription)},
            {"fullDescription", optionalJson(metadata.fullDescription)},
            {"artist", optionalJson(metadata.artist)},
            {"composer", optionalJson(metadata.composer)},
            {"albumTitle", optionalJson(metadata.albumTitle)},
            {"showTitle", optionalJson(metadata.showTitle)},
            {"seasonNumber", optionalJson(metadata.seasonNumber)},
            {"episodeNumber", optionalJson(metadata.episodeNumber)},
            {"artwork", imageJson(metadata.artwork)},
            {"lyrics", optionalJson(metadata.lyrics)},
            {"releaseYear", optionalJson(metadata.releaseYear)},
            {"genre", optionalJson(metadata.genre)},
            {"copyright", optionalJson(metadata.copyright)}};
}

Json attachmentsJson(const CVAttachments& attachments) {
    Json json = Json::object();
    for (const auto& [key, value] : attachments) {
        json[key] = attachmentJson(value);
    }
    return json;
}

Json loadErrorJson(const MediaSource::LoadError& error) {
    Json json;
    json["case"] = error.caseName();
    json["errorDescription"] = optionalJson(error.errorDescription());
    json["failureReason"] = optionalJson(error.failureReason());
    json["recoverySuggestion"] = optionalJson(error.recoverySuggestion());
    return {{"error", std::move(json)}};
}

void printLine(const Json& json) {
    // Titles of broken files may be invalid UTF-8.
    const auto text = json.dump(-1, ' ', false, Json::error_handler_t::replace);
    std::fputs((text + "\n").c_str(), stdout);
}

} // namespace zelvane::inspect
