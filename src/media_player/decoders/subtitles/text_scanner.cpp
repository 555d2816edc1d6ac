// SPDX-License-Identifier: GPL-3.0-or-later
#include "media_player/decoders/subtitles/text_scanner.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>

#include "foundation/text.h"

namespace zelvane {
namespace {

/// A number above this is too large for any type here; further digits are not counted.
constexpr std::uint64_t kLargeEnough = std::uint64_t{1} << 40U;

bool isWhitespace(char c) {
    return c == ' ' || (c >= '\t' && c <= '\r');
}

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

/// The digit's value, or the base for any other character.
unsigned digitValue(char c, unsigned base) {
    if (isDigit(c)) {
        return static_cast<unsigned>(c - '0');
    }
    const char letter = loweredASCII(c);
    return base == 16 && letter >= 'a' && letter <= 'f' ? static_cast<unsigned>(letter - 'a') + 10
                                                        : base;
}

std::size_t digitCount(std::string_view text, unsigned base) {
    const auto end =
        std::find_if(text.begin(), text.end(), [&](char c) { return digitValue(c, base) == base; });
    return static_cast<std::size_t>(end - text.begin());
}

/// The length of digits with at most one point; 0 without any digit.
std::size_t mantissaLength(std::string_view text, unsigned base) {
    const std::size_t whole = digitCount(text, base);
    if (whole == text.size() || text[whole] != '.') {
        return whole;
    }
    const std::size_t fraction = digitCount(text.substr(whole + 1), base);
    return whole + fraction == 0 ? 0 : whole + 1 + fraction;
}

/// The length of an exponent with its marker and sign; 0 without digits.
std::size_t exponentLength(std::string_view text, char marker) {
    if (text.empty() || loweredASCII(text.front()) != marker) {
        return 0;
    }
    const std::size_t sign = text.size() > 1 && (text[1] == '+' || text[1] == '-') ? 1 : 0;
    const std::size_t digits = digitCount(text.substr(1 + sign), 10);
    return digits == 0 ? 0 : 1 + sign + digits;
}

std::optional<float> parsed(std::string_view number, std::chars_format format) {
    float value = 0;
    const auto result =
        std::from_chars(number.data(), number.data() + number.size(), value, format);
    return result.ec == std::errc() && std::isfinite(value) ? std::optional(value) : std::nullopt;
}

} // namespace

bool TextScanner::literal(std::string_view characters) {
    if (hasFailed_ || text_.compare(position_, characters.size(), characters) != 0) {
        fail();
        return false;
    }
    position_ += characters.size();
    return true;
}

std::optional<char> TextScanner::oneOf(std::string_view set) {
    const char c = current();
    if (hasFailed_ || c == '\0' || set.find(c) == std::string_view::npos) {
        fail();
        return std::nullopt;
    }
    ++position_;
    return c;
}

std::optional<std::string_view> TextScanner::noneOf(std::string_view set, std::size_t width) {
    const std::size_t start = position_;
    while (!hasFailed_ && position_ - start < width && current() != '\0' &&
           set.find(current()) == std::string_view::npos) {
        ++position_;
    }
    if (position_ == start) {
        fail();
        return std::nullopt;
    }
    return text_.substr(start, position_ - start);
}

void TextScanner::skipWhitespace() {
    while (isWhitespace(current())) {
        ++position_;
    }
}

/// Returns true for a minus. The sign counts in the width.
bool TextScanner::takesSign(std::size_t& width) {
    const char sign = current();
    if (width == 0 || (sign != '-' && sign != '+')) {
        return false;
    }
    ++position_;
    --width;
    return sign == '-';
}

std::optional<TextScanner::Integer> TextScanner::integer(unsigned base, std::size_t width) {
    if (hasFailed_) {
        return std::nullopt;
    }
    skipWhitespace();
    Integer result;
    result.isNegative = takesSign(width);
    bool hasDigits = false;
    if (base == 16 && width > 1 && current() == '0' && loweredASCII(following()) == 'x') {
        position_ += 2;
        width -= 2;
        // Without a digit after the prefix, the zero is the number.
        hasDigits = true;
    }
    for (; width > 0; --width, ++position_) {
        const unsigned digit = digitValue(current(), base);
        if (digit == base) {
            break;
        }
        hasDigits = true;
        result.magnitude = std::min(result.magnitude * base + digit, kLargeEnough);
    }
    if (!hasDigits) {
        fail();
        return std::nullopt;
    }
    return result;
}

std::optional<std::int32_t> TextScanner::decimal(std::size_t width) {
    const auto scanned = integer(10, width);
    if (!scanned) {
        return std::nullopt;
    }
    const auto magnitude = static_cast<std::int64_t>(scanned->magnitude);
    using Limits = std::numeric_limits<std::int32_t>;
    return static_cast<std::int32_t>(std::clamp<std::int64_t>(
        scanned->isNegative ? -magnitude : magnitude, Limits::min(), Limits::max()));
}

std::optional<std::uint32_t> TextScanner::unsignedInteger(unsigned base, std::size_t width) {
    const auto scanned = integer(base, width);
    if (!scanned) {
        return std::nullopt;
    }
    constexpr std::uint64_t kMaximum = std::numeric_limits<std::uint32_t>::max();
    if (scanned->magnitude > kMaximum) {
        return std::numeric_limits<std::uint32_t>::max();
    }
    const auto magnitude = static_cast<std::uint32_t>(scanned->magnitude);
    return scanned->isNegative ? 0U - magnitude : magnitude;
}

std::optional<std::uint32_t> TextScanner::unsignedDecimal(std::size_t width) {
    return unsignedInteger(10, width);
}

std::optional<std::uint32_t> TextScanner::hexadecimal(std::size_t width) {
    return unsignedInteger(16, width);
}

std::optional<float> TextScanner::floatingPoint() {
    if (hasFailed_) {
        return std::nullopt;
    }
    skipWhitespace();
    std::size_t width = kAnyWidth;
    const bool isNegative = takesSign(width);
    const bool isHexadecimal = current() == '0' && loweredASCII(following()) == 'x';
    position_ += isHexadecimal ? 2 : 0;
    const std::string_view rest = text_.substr(std::min(position_, text_.size()));
    const std::size_t mantissa = mantissaLength(rest, isHexadecimal ? 16 : 10);
    const std::size_t length =
        mantissa + exponentLength(rest.substr(mantissa), isHexadecimal ? 'p' : 'e');
    const auto value =
        mantissa == 0 ? std::nullopt
                      : parsed(rest.substr(0, length),
                               isHexadecimal ? std::chars_format::hex : std::chars_format::general);
    if (!value) {
        fail();
        return std::nullopt;
    }
    position_ += length;
    return isNegative ? -*value : *value;
}

} // namespace zelvane
