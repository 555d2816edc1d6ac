// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <optional>

namespace zelvane {

/// The main kinds of media, in the order of their raw values.
enum class MediaType { video = 0, audio = 1, subtitles = 2 };

inline constexpr std::array kAllMediaTypes{MediaType::video, MediaType::audio,
                                           MediaType::subtitles};

constexpr std::optional<MediaType> mediaTypeFromRawValue(int rawValue) {
    return rawValue >= 0 && rawValue <= 2 ? std::optional(static_cast<MediaType>(rawValue))
                                          : std::nullopt;
}

} // namespace zelvane
