// SPDX-License-Identifier: GPL-3.0-or-later
#include "application/library_versions.h"

#include <array>
#include <string_view>

#include <QtGlobal>

#include <fmt/format.h>
#include <fontconfig/fontconfig.h>
#include <glib.h>
#include <lcms2.h>
#include <libyuv/version.h>
#include <nlohmann/json.hpp>
#include <pulse/version.h>
#include <rubberband/rubberband-c.h>
#include <unicode/uversion.h>

#include "core_media/ffmpeg.h"

extern "C" {
#include <libplacebo/config.h>
}

namespace zelvane {
namespace {

/// From a decimal number such as 21400 for 2.14.0, with `base` for each part.
std::string versionOf(int number, int base, int parts) {
    std::string text;
    for (int part = 0; part < parts; ++part) {
        text.insert(0, std::to_string(number % base) + (part == 0 ? "" : "."));
        number /= base;
    }
    return text;
}

/// "v4.208" is the version 4.208.
std::string withoutPrefix(std::string_view version) {
    return std::string(version.substr(version.rfind('v', 0) == 0 ? 1 : 0));
}

std::string icuVersion() {
    UVersionInfo version{};
    u_getVersion(version);
    std::array<char, U_MAX_VERSION_STRING_LENGTH> text{};
    u_versionToString(version, text.data());
    return text.data();
}

/// The build decides between the licences of FFmpeg.
std::string ffmpegLicense() {
    const std::string license = avformat_license();
    const std::string kind = license.rfind("LGPL", 0) == 0 ? "LGPL" : "GPL";
    const bool isVersion3 = license.find("version 3") != std::string::npos;
    return kind + (isVersion3       ? "-3.0-or-later"
                   : kind == "LGPL" ? "-2.1-or-later"
                                    : "-2.0-or-later");
}

} // namespace

std::vector<LibraryVersion> librariesInUse() {
    constexpr int kHundred = 100;
    constexpr int kTen = 10;
    return {
        {"FFmpeg", av_version_info(), ffmpegLicense()},
        {"fmt", versionOf(FMT_VERSION, kHundred, 3), "MIT"},
        {"Fontconfig", versionOf(FcGetVersion(), kHundred, 3), "HPND"},
        {"GLib",
         fmt::format("{}.{}.{}", glib_major_version, glib_minor_version, glib_micro_version),
         "LGPL-2.1-or-later"},
        {"ICU", icuVersion(), "Unicode-3.0"},
        {"JSON for Modern C++",
         fmt::format("{}.{}.{}", NLOHMANN_JSON_VERSION_MAJOR, NLOHMANN_JSON_VERSION_MINOR,
                     NLOHMANN_JSON_VERSION_PATCH),
         "MIT"},
        {"libplacebo", withoutPrefix(pl_version()), "LGPL-2.1-or-later"},
        {"libyuv", std::to_string(LIBYUV_VERSION), "BSD-3-Clause"},
        {"Little CMS", versionOf(cmsGetEncodedCMMversion() / kTen, kHundred, 2), "MIT"},
        {"PulseAudio", pa_get_library_version(), "LGPL-2.1-or-later"},
        {"Qt", qVersion(), "LGPL-3.0-only"},
        {"Rubber Band", RUBBERBAND_VERSION, "GPL-2.0-or-later"},
        {"uchardet", "", "MPL-1.1"},
        {"XCB", "", "MIT"},
    };
}

} // namespace zelvane
