// SPDX-License-Identifier: GPL-3.0-or-later
#include "foundation/text.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>

#include <unicode/unistr.h>

namespace zelvane {
namespace {

/// All white space characters of more than one byte in UTF-8.
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

/// The length of the sequence that begins with `lead`; 0 if none can.
std::size_t sequenceLength(unsigned char lead) {
    if (lead < 0x80) {
        return 1;
    }
    if (lead >= 0xc2 && lead <= 0xdf) {
        return 2;
    }
    if (lead >= 0xe0 && lead <= 0xef) {
        return 3;
    }
    return lead >= 0xf0 && lead <= 0xf4 ? 4 : 0;
}

/// After some lead bytes the second byte is restricted, to exclude overlong forms, surrogates and
/// code points above U+10FFFF.
bool canFollowLead(unsigned char lead, unsigned char second) {
    switch (lead) {
    case 0xe0:
        return second >= 0xa0 && second <= 0xbf;
    case 0xed:
        return second >= 0x80 && second <= 0x9f;
    case 0xf0:
        return second >= 0x90 && second <= 0xbf;
    case 0xf4:
        return second >= 0x80 && second <= 0x8f;
    default:
        return second >= 0x80 && second <= 0xbf;
    }
}

bool isSequence(std::string_view bytes) {
    for (std::size_t i = 2; i < bytes.size(); ++i) {
        if ((static_cast<unsigned char>(bytes[i]) & 0xc0U) != 0x80) {
            return false;
        }
    }
    return bytes.size() < 2 || canFollowLead(static_cast<unsigned char>(bytes[0]),
                                             static_cast<unsigned char>(bytes[1]));
}

/// The number of leading ASCII bytes, in multiples of eight.
std::size_t leadingASCII(std::string_view bytes) {
    constexpr std::uint64_t kHighBits = 0x8080808080808080U;
    std::size_t count = 0;
    std::uint64_t eight = 0;
    while (bytes.size() - count >= sizeof(eight)) {
        std::memcpy(&eight, bytes.data() + count, sizeof(eight));
        if ((eight & kHighBits) != 0) {
            break;
        }
        count += sizeof(eight);
    }
    return count;
}

} // namespace

bool isValidUTF8(std::string_view bytes) {
    while (!bytes.empty()) {
        bytes.remove_prefix(leadingASCII(bytes));
        if (bytes.empty()) {
            break;
        }
        const std::size_t length = sequenceLength(static_cast<unsigned char>(bytes.front()));
        if (length == 0 || length > bytes.size() || !isSequence(bytes.substr(0, length))) {
            return false;
        }
        bytes.remove_prefix(length);
    }
    return true;
}

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
