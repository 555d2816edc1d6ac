// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>
#include <string_view>

namespace zelvane {

/// `text` without white space and line ends at both sides: Unicode's separators of category Z and
/// the control characters TAB to CR and NEL, in UTF-8. Bytes that are no UTF-8 stay.
std::string_view trimmingWhitespace(std::string_view text);

/// `text` without the spaces at its start.
constexpr std::string_view skippingBlanks(std::string_view text) {
    const auto start = text.find_first_not_of(' ');
    return text.substr(start == std::string_view::npos ? text.size() : start);
}
/// A letter of ASCII in lower case; any other byte as it is, whatever the locale.
constexpr char loweredASCII(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

/// `text` as UTF-8, with U+FFFD in place of what is none.
std::string repairedUTF8(std::string_view text);
/// Whether `bytes` are UTF-8 throughout, in shortest form and without surrogates.
bool isValidUTF8(std::string_view bytes);

} // namespace zelvane
