// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>
#include <string>

#include "foundation/url.h"

namespace zelvane {

/// The text of a subtitles file, ready for a demuxer of such text.
struct SubtitlesText {
    /// UTF-8 without a mark and without NUL. A character that could not be read is U+FFFD.
    std::string text;
    /// What the file is written in, by the name that iconv knows it by; none when it is empty.
    std::optional<std::string> encoding;
};

/// Reads a file that a demuxer for subtitles text would take, in whatever encoding, from end to
/// end. None for any other: a container, pictures, no regular file, more than 256 MB, or one that
/// cannot be read, which the library may look at by itself. Any thread.
std::optional<SubtitlesText> readSubtitlesText(const URL& url);

/// The same of bytes that have been read. The name is that of their file, for its extension.
std::optional<SubtitlesText> subtitlesTextOf(std::string bytes, const std::string& name);

} // namespace zelvane
