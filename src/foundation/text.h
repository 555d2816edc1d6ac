// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>
#include <string_view>

namespace zelvane {

/// `text` without white space at both ends: Unicode category Z, TAB to CR and NEL, in UTF-8.
/// Invalid UTF-8 is kept.
std::string_view trimmingWhitespace(std::string_view text);

/// `text` without leading spaces.
constexpr std::string_view skippingBlanks(std::string_view text) {
    const auto start = text.find_first_not_of(' ');
    return text.substr(start == std::string_view::npos ? text.size() : start);
}
/// An ASCII letter in lower case; other bytes unchanged. Independent of the locale.
constexpr char loweredASCII(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

/// `text` as valid UTF-8, with U+FFFD for invalid sequences.
std::string repairedUTF8(std::string_view text);
/// Whether all of `bytes` is UTF-8 in shortest form and without surrogates.
bool isValidUTF8(std::string_view bytes);

} // namespace zelvane
