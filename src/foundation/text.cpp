// SPDX-License-Identifier: GPL-3.0-or-later
#include "foundation/text.h"

#include <algorithm>
#include <array>

#include <unicode/unistr.h>

namespace zelvane {
namespace {

/// Every white space character that is not a single byte, as UTF-8.
constexpr std::array<std::string_view, 19> kWideSpaces{
    "\u0085", "\u00a0", "\u1680", "\u2000", "\u2001", "\u2002", "\u2003",
    "\u2004", "\u2005", "\u2006", "\u2007", "\u2008", "\u2009", "\u200a",
    "\u2028", "\u2029", "\u202f", "\u205f", "\u3000",
};

bool isByteSpace(char c) {
    return c == ' ' || (c >= '\t' && c <= '\r');
}

std::size_t leadingSpace(std::string_view text) {
    if (!text.empty() && isByteSpace(text.front())) {
        return 1;
    }
    const auto* const found =
        std::find_if(kWideSpaces.begin(), kWideSpaces.end(),
                     [&](std::string_view space) { return text.substr(0, space.size()) == space; });
    return found == kWideSpaces.end() ? 0 : found->size();
}

std::size_t trailingSpace(std::string_view text) {
    if (!text.empty() && isByteSpace(text.back())) {
        return 1;
    }
    const auto* const found =
        std::find_if(kWideSpaces.begin(), kWideSpaces.end(), [&](std::string_view space) {
            return text.size() >= space.size() && text.substr(text.size() - space.size()) == space;
        });
    return found == kWideSpaces.end() ? 0 : found->size();
}

} // namespace

std::string_view trimmingWhitespace(std::string_view text) {
    while (const std::size_t length = leadingSpace(text)) {
        text.remove_prefix(length);
    }
    while (const std::size_t length = trailingSpace(text)) {
        text.remove_suffix(length);
    }
    return text;
}

std::string repairedUTF8(std::string_view text) {
    std::string repaired;
    icu::UnicodeString::fromUTF8({text.data(), static_cast<int32_t>(text.size())})
        .toUTF8String(repaired);
    return repaired;
}

} // namespace zelvane
