// SPDX-License-Identifier: GPL-3.0-or-later
#include "media_player/media_source/allowed_formats.h"

#include <algorithm>
#include <array>
#include <string_view>

#include "foundation/text.h"

namespace zelvane {
namespace {

/// Formats whose files name other files, hosts or programs.
constexpr std::array<std::string_view, 10> kReferringFormats{
    "avisynth", "concat", "dash", "hls", "imf", "rtp", "rtsp", "sap", "sdp", "vapoursynth",
};

struct PlaylistExtension {
    std::string_view extension;
    std::string_view format;
};
constexpr std::array<PlaylistExtension, 4> kPlaylistExtensions{{
    {".ffconcat", "concat"},
    {".m3u", "hls"},
    {".m3u8", "hls"},
    {".mpd", "dash"},
}};

std::string_view playlistFormatOf(const std::string& path) {
    std::string extension = path.substr(std::min(path.rfind('.'), path.size()));
    std::transform(extension.begin(), extension.end(), extension.begin(), loweredASCII);
    const auto* const found =
        std::find_if(kPlaylistExtensions.begin(), kPlaylistExtensions.end(),
                     [&](const auto& playlist) { return playlist.extension == extension; });
    return found == kPlaylistExtensions.end() ? std::string_view() : found->format;
}

} // namespace

std::string allowedFormats(const std::string& path) {
    const std::string_view playlistFormat = playlistFormatOf(path);
    std::string names;
    void* position = nullptr;
    while (const AVInputFormat* format = av_demuxer_iterate(&position)) {
        const auto* const referring =
            std::find(kReferringFormats.begin(), kReferringFormats.end(), format->name);
        if (referring == kReferringFormats.end() || format->name == playlistFormat) {
            names += (names.empty() ? "" : ",") + std::string(format->name);
        }
    }
    return names;
}

bool restrictToAllowedFormats(AVFormatContext& context, const std::string& path) {
    // Of playlists, "data" holds a segment inside, and "crypto" decrypts one.
    context.protocol_whitelist = av_strdup("file,crypto,data");
    context.format_whitelist = av_strdup(allowedFormats(path).c_str());
    return context.protocol_whitelist != nullptr && context.format_whitelist != nullptr;
}

ffmpeg::Dictionary singleFileOptions() {
    AVDictionary* options = nullptr;
    av_dict_set(&options, "pattern_type", "none", 0);
    return ffmpeg::Dictionary(options);
}

} // namespace zelvane
