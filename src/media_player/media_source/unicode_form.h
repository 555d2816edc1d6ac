// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <optional>
#include <string_view>

namespace zelvane {

/// A Unicode encoding form that a text states or shows.
struct UnicodeForm {
    /// iconv's name: "UTF-8", "UTF-16LE" …
    std::string_view encoding;
    /// The size of the byte order mark; 0 without one.
    std::size_t markSize = 0;
};

/// The form of a text, by its byte order mark, or, without one, by lines that are valid in UTF-16
/// or UTF-32 and in no other form. None for anything else, unmarked UTF-8 included. `start` is the
/// whole text, or a few thousand bytes of it.
std::optional<UnicodeForm> unicodeForm(std::string_view start);

} // namespace zelvane
