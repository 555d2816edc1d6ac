// SPDX-License-Identifier: GPL-3.0-or-later
#include "media_player/media_source/media_file_names.h"

#include <algorithm>
#include <array>
#include <set>
#include <string_view>

#include "core_media/ffmpeg.h"
#include "media_player/media_source/subtitles_file_names.h"

namespace zelvane {
namespace {

/// Formats that are recognised by their content state no extension.
constexpr std::array<std::string_view, 64> kMore{
    "3g2",  "3gp2", "3gpp", "aif",  "aifc", "aiff", "amr",  "amv", "apng", "asf",  "au",
    "awb",  "bik",  "caf",  "divx", "dsf",  "gif",  "gxf",  "it",  "ivf",  "m1v",  "m2t",
    "m2ts", "m2v",  "m3u8", "m4p",  "mpd",  "mpe",  "mpeg", "mpg", "mpv",  "mts",  "mxf",
    "nsv",  "nuv",  "oga",  "ogm",  "ogv",  "ogx",  "opus", "qt",  "ra",   "rf64", "rm",
    "rmvb", "roq",  "smk",  "snd",  "spx",  "swf",  "tp",   "trp", "ts",   "vob",  "voc",
    "w64",  "wav",  "wave", "weba", "wma",  "wmv",  "wtv",  "wv",  "xesc",
};

/// Stated by demuxers, but of raw samples, pictures, texts and data in most files.
constexpr std::array<std::string_view, 53> kOther{
    "302", "adf",  "al",  "ans", "art", "asc",  "avif", "avr",   "bit", "bitpacked", "cdata",
    "cgi", "cif",  "dat", "dif", "diz", "far",  "ice",  "idf",   "imf", "imx",       "j2k",
    "mcc", "mac",  "mpo", "nc",  "nfo", "nist", "paf",  "ppm",   "ptm", "qcif",      "rgb",
    "sb",  "sbg",  "ser", "sf",  "sph", "str",  "sw",   "txt",   "ub",  "ul",        "uw",
    "v",   "v210", "vb",  "vt",  "xl",  "xpk",  "yuv",  "yuv10", "fap",
};

template <std::size_t count>
bool contains(const std::array<std::string_view, count>& extensions, std::string_view extension) {
    return std::find(extensions.begin(), extensions.end(), extension) != extensions.end();
}

void addStated(std::string_view stated, std::set<std::string>& extensions) {
    while (!stated.empty()) {
        const auto end = std::min(stated.find(','), stated.size());
        const auto extension = stated.substr(0, end);
        if (!contains(kOther, extension) && !isSubtitlesFileNameExtension(extension)) {
            extensions.emplace(extension);
        }
        stated.remove_prefix(std::min(end + 1, stated.size()));
    }
}

} // namespace

std::vector<std::string> mediaFileNameExtensions() {
    std::set<std::string> extensions(kMore.begin(), kMore.end());
    void* position = nullptr;
    while (const AVInputFormat* format = av_demuxer_iterate(&position)) {
        if (format->extensions != nullptr) {
            addStated(format->extensions, extensions);
        }
    }
    return {extensions.begin(), extensions.end()};
}

} // namespace zelvane
