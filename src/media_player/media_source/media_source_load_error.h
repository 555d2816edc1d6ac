// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <exception>
#include <optional>
#include <set>
#include <string>
#include <string_view>

#include "foundation/error.h"
#include "foundation/url.h"
#include "media_player/decoders/common/media_type.h"

namespace zelvane {

/// Why media could not be loaded, with texts for the user. A value.
class MediaSourceLoadError final : public LocalizedError {
  public:
    enum class Case {
        unsupportedURLScheme,
        failedToOpenURL,
        noDecodableTracks,
        failedToSeek,
        inconsistentReads,
        failedToReadMediaDuration,
    };

    /// An empty scheme means that the URL has none.
    static MediaSourceLoadError unsupportedURLScheme(const std::string& scheme);
    static MediaSourceLoadError failedToOpenURL(const URL& url, std::exception_ptr underlyingError);
    static MediaSourceLoadError noDecodableTracks(std::set<MediaType> mainMediaTypes);
    static MediaSourceLoadError failedToSeek(std::exception_ptr underlyingError);
    /// The file changed between its two openings.
    static MediaSourceLoadError inconsistentReads();
    static MediaSourceLoadError failedToReadMediaDuration();

    Case errorCase() const { return case_; }
    /// The name of the case in code.
    std::string_view caseName() const { return what(); }
    /// For failedToOpenURL.
    const std::optional<URL>& url() const { return url_; }
    /// For failedToOpenURL and failedToSeek; null otherwise.
    const std::exception_ptr& underlyingError() const { return underlyingError_; }
    /// For noDecodableTracks: the kinds of track of which one was required.
    const std::set<MediaType>& mainMediaTypes() const { return mainMediaTypes_; }

  private:
    struct Texts {
        std::string errorDescription;
        std::string failureReason;
        std::optional<std::string> recoverySuggestion = {};
    };
    MediaSourceLoadError(Case errorCase, Texts texts);

    Case case_;
    std::optional<URL> url_;
    std::exception_ptr underlyingError_;
    std::set<MediaType> mainMediaTypes_;
};

} // namespace zelvane
