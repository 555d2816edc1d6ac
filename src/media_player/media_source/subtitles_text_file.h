// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>
#include <string>

#include "foundation/url.h"

namespace zelvane {

/// The text of a subtitles file, in the form that a demuxer needs.
struct SubtitlesText {
    /// UTF-8 without a byte order mark and without NUL. U+FFFD replaces a character that could not
    /// be read.
    std::string text;
    /// The file's encoding, by iconv's name; none for an empty file.
    std::optional<std::string> encoding;
};

/// Reads a whole file of text subtitles, in any encoding. None for any other file: a container,
/// pictures, a file that is not regular, has more than 256 MB or cannot be read. Any thread.
std::optional<SubtitlesText> readSubtitlesText(const URL& url);

/// The same for bytes that have been read. `name` is the file's name, for its extension.
std::optional<SubtitlesText> subtitlesTextOf(std::string bytes, const std::string& name);

} // namespace zelvane
