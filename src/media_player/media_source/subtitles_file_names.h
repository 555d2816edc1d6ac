// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <span>
#include <string_view>

namespace zelvane {

class URL;

/// The extensions of subtitles files, in lower case and without their dot.
std::span<const std::string_view> subtitlesFileNameExtensions();

/// Whether this extension, in lower case and without its dot, is known to be of subtitles files.
bool isSubtitlesFileNameExtension(std::string_view extension);

/// The part of the last path component after its last dot; empty without a dot, or if nothing
/// precedes the dot.
std::string_view pathExtension(const URL& url);

} // namespace zelvane
