// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <cstddef>

namespace zelvane {

/// The main kinds of media, in the order of their raw values.
enum class MediaType { video = 0, audio = 1, subtitles = 2 };

inline constexpr std::array kAllMediaTypes{MediaType::video, MediaType::audio,
                                           MediaType::subtitles};

/// "video", "audio" or "subtitles".
constexpr const char* nameOf(MediaType mediaType) {
    constexpr std::array kNames{"video", "audio", "subtitles"};
    return kNames.at(static_cast<std::size_t>(mediaType));
}

} // namespace zelvane
