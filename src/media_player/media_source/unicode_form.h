// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <optional>
#include <string_view>

namespace zelvane {

/// A form of Unicode that text says, or shows, that it is in.
struct UnicodeForm {
    /// As iconv knows it: "UTF-8", "UTF-16LE" …
    std::string_view encoding;
    /// The bytes of the mark in front of the text; 0 without one.
    std::size_t markSize = 0;
};

/// The form that a text's first bytes are in, by its byte order mark, or, without one, when they
/// make lines of text in UTF-16 or UTF-32 and in no other way. Bytes in anything else have none:
/// unmarked UTF-8 too. `start` is all of the text, or some thousand bytes of it.
std::optional<UnicodeForm> unicodeForm(std::string_view start);

} // namespace zelvane
