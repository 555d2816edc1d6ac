// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string_view>

namespace zelvane {

class URL;

/// Whether files of this extension, as it stands behind the last dot, are known as subtitles. Lower
/// case counts alone.
bool isSubtitlesFileNameExtension(std::string_view extension);

/// The last path component behind its last dot; empty without a dot, or where nothing is before it.
std::string_view pathExtension(const URL& url);

} // namespace zelvane
