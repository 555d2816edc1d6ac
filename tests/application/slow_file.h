// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>
#include <fstream>

#include "tests/support/clips.h"

namespace zelvane::test {

/// A file in `folder` that takes minutes to open: its header names tracks, of which an endless part
/// without packets follows. It takes no space.
inline std::filesystem::path makeSlowFile(const std::filesystem::path& folder) {
    const auto film =
        bytesOf(madeClip("header-of-slow.mkv",
                         lavfi("color=s=64x64:d=1") + lavfi("sine=d=1") + "-c:v libvpx -c:a aac"));
    auto path = folder / "slow.mkv";
    std::ofstream(path) << film.substr(0, film.find("\x1f\x43\xb6\x75"));
    std::filesystem::resize_file(path, std::uintmax_t{1} << 40U);
    return path;
}

} // namespace zelvane::test
