// SPDX-License-Identifier: GPL-3.0-or-later
#include "media_player/media_source/subtitles_file_names.h"

#include <algorithm>
#include <array>

#include "foundation/url.h"

namespace zelvane {
namespace {

/// The extensions of what side files' demuxers read. Several formats share an extension, above all
/// "sub": the content decides. "txt" is left out, as most such files are not subtitles.
constexpr std::array<std::string_view, 21> kExtensions{
    "aqt",  "ass", "idx", "jss", "lrc", "mks", "mpl", "mpl2", "mpsub", "pjs",    "rt",
    "sami", "scc", "smi", "srt", "ssa", "stl", "sub", "sup",  "vtt",   "webvtt",
};

} // namespace

std::span<const std::string_view> subtitlesFileNameExtensions() {
    return kExtensions;
}

bool isSubtitlesFileNameExtension(std::string_view extension) {
    return std::find(kExtensions.begin(), kExtensions.end(), extension) != kExtensions.end();
}

std::string_view pathExtension(const URL& url) {
    const std::string_view path = url.path();
    const auto dot = path.rfind('.');
    const auto slash = path.rfind('/');
    const std::size_t name = slash == std::string_view::npos ? 0 : slash + 1;
    return dot == std::string_view::npos || dot <= name ? std::string_view() : path.substr(dot + 1);
}

} // namespace zelvane
