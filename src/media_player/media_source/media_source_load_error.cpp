// SPDX-License-Identifier: GPL-3.0-or-later
#include "media_player/media_source/media_source_load_error.h"

#include <utility>

#include <fmt/format.h>

namespace zelvane {
namespace {

using Case = MediaSourceLoadError::Case;

constexpr const char* kUnableToLoad = "Unable to load the media.";

const char* nameOf(Case errorCase) {
    switch (errorCase) {
    case Case::unsupportedURLScheme:
        return "unsupportedURLScheme";
    case Case::failedToOpenURL:
        return "failedToOpenURL";
    case Case::noDecodableTracks:
        return "noDecodableTracks";
    case Case::failedToSeek:
        return "failedToSeek";
    case Case::inconsistentReads:
        return "inconsistentReads";
    case Case::failedToReadMediaDuration:
        break;
    }
    return "failedToReadMediaDuration";
}

/// The name before "tracks".
std::string singularNameOf(MediaType mediaType) {
    return mediaType == MediaType::subtitles ? "subtitle" : nameOf(mediaType);
}

std::string joinedNames(const std::set<MediaType>& mediaTypes) {
    std::string names;
    for (const MediaType mediaType : mediaTypes) {
        names += (names.empty() ? "" : "/") + singularNameOf(mediaType);
    }
    return names;
}

} // namespace

MediaSourceLoadError::MediaSourceLoadError(Case errorCase, Texts texts)
    : LocalizedError(nameOf(errorCase), std::move(texts.errorDescription),
                     std::move(texts.failureReason), std::move(texts.recoverySuggestion)),
      case_(errorCase) {}

MediaSourceLoadError MediaSourceLoadError::unsupportedURLScheme(const std::string& scheme) {
    return {Case::unsupportedURLScheme,
            {kUnableToLoad, fmt::format("The URL scheme `{}` is currently unsupported.", scheme),
             "Please submit a feature request."}};
}

MediaSourceLoadError MediaSourceLoadError::failedToOpenURL(const URL& url,
                                                           std::exception_ptr underlyingError) {
    MediaSourceLoadError error(
        Case::failedToOpenURL,
        {fmt::format("Unable to open the {}.", url.isFileURL() ? "file" : "URL"),
         errorDescriptionText(underlyingError)});
    error.url_ = url;
    error.underlyingError_ = std::move(underlyingError);
    return error;
}

MediaSourceLoadError MediaSourceLoadError::noDecodableTracks(std::set<MediaType> mainMediaTypes) {
    MediaSourceLoadError error(
        Case::noDecodableTracks,
        {kUnableToLoad, fmt::format("The media does not contain any decodable {} tracks.",
                                    joinedNames(mainMediaTypes))});
    error.mainMediaTypes_ = std::move(mainMediaTypes);
    return error;
}

MediaSourceLoadError MediaSourceLoadError::failedToSeek(std::exception_ptr underlyingError) {
    MediaSourceLoadError error(
        Case::failedToSeek, {"Unable to seek the media.", errorDescriptionText(underlyingError)});
    error.underlyingError_ = std::move(underlyingError);
    return error;
}

MediaSourceLoadError MediaSourceLoadError::inconsistentReads() {
    return {Case::inconsistentReads,
            {kUnableToLoad, "The file was modified while trying to read it.", "Please try again."}};
}

MediaSourceLoadError MediaSourceLoadError::failedToReadMediaDuration() {
    return {Case::failedToReadMediaDuration,
            {kUnableToLoad, "Failed to find the duration of the media."}};
}

} // namespace zelvane
