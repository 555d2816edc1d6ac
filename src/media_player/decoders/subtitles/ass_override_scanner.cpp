// SPDX-License-Identifier: GPL-3.0-or-later
#include "media_player/decoders/subtitles/ass_override_scanner.h"

#include <array>
#include <cstddef>
#include <optional>

#include "core_media/ffmpeg.h"
#include "media_player/decoders/subtitles/text_scanner.h"

namespace zelvane {
namespace {

using Switch = ASSOverrideCallbacks::Switch;

/// The characters that end a tag.
constexpr std::string_view kSeparators = "\\}";
constexpr std::size_t kMaximumNameLength = 127;

/// Each function tries the patterns of one family at a backslash, in order. It reports the tag that
/// matches, and returns the length of the match without the separator; 0 without a match.
using TagMatcher = std::size_t (*)(ASSOverrideCallbacks& callbacks, std::string_view text);

std::size_t lengthBeforeSeparator(const TextScanner& scanner) {
    return scanner.position() - 1;
}

bool separator(TextScanner& scanner) {
    return scanner.oneOf(kSeparators).has_value();
}

Switch switchOf(char value) {
    if (value == '0') {
        return Switch::off;
    }
    return value == '1' ? Switch::on : Switch::reset;
}

/// "\%1[bisu]%1[01\}]"
std::size_t matchStyle(ASSOverrideCallbacks& callbacks, std::string_view text) {
    TextScanner scanner(text);
    scanner.literal("\\");
    const auto tag = scanner.oneOf("bisu");
    const auto value = scanner.oneOf("01\\}");
    if (!scanner.hasMatched()) {
        return 0;
    }
    callbacks.style(*tag, switchOf(*value));
    const bool hasDigit = switchOf(*value) != Switch::reset;
    return hasDigit ? scanner.position() : lengthBeforeSeparator(scanner);
}

/// "\<tag>%1[\}]"
std::size_t matchBare(std::string_view text, std::string_view tag) {
    TextScanner scanner(text);
    scanner.literal(tag);
    return separator(scanner) ? lengthBeforeSeparator(scanner) : 0;
}

/// "\%1[1234]<letter>%1[\}]". Matched with the number in `number`.
std::size_t matchBareNumbered(std::string_view text, std::string_view letter, int& number) {
    TextScanner scanner(text);
    scanner.literal("\\");
    const auto digit = scanner.oneOf("1234");
    scanner.literal(letter);
    if (!separator(scanner)) {
        return 0;
    }
    number = *digit - '0';
    return lengthBeforeSeparator(scanner);
}

/// The value of a colour or alpha tag: "&H%<width>X&%1[\}]".
std::optional<std::uint32_t> hexValue(TextScanner& scanner, std::size_t width) {
    scanner.literal("&H");
    const auto value = scanner.hexadecimal(width);
    scanner.literal("&");
    return separator(scanner) ? value : std::nullopt;
}

std::size_t matchColor(ASSOverrideCallbacks& callbacks, std::string_view text) {
    if (const std::size_t length = matchBare(text, "\\c")) {
        callbacks.color(ASSOverrideCallbacks::kNoColor, 0);
        return length;
    }
    TextScanner scanner(text);
    scanner.literal("\\c");
    const auto color = hexValue(scanner, TextScanner::kAnyWidth);
    if (!color) {
        return 0;
    }
    callbacks.color(*color, 0);
    return lengthBeforeSeparator(scanner);
}

std::size_t matchNumberedColor(ASSOverrideCallbacks& callbacks, std::string_view text) {
    int number = 0;
    if (const std::size_t length = matchBareNumbered(text, "c", number)) {
        callbacks.color(ASSOverrideCallbacks::kNoColor, number);
        return length;
    }
    TextScanner scanner(text);
    scanner.literal("\\");
    const auto digit = scanner.oneOf("1234");
    scanner.literal("c");
    const auto color = hexValue(scanner, TextScanner::kAnyWidth);
    if (!color) {
        return 0;
    }
    callbacks.color(*color, *digit - '0');
    return lengthBeforeSeparator(scanner);
}

std::size_t matchAlpha(ASSOverrideCallbacks& callbacks, std::string_view text) {
    if (const std::size_t length = matchBare(text, "\\alpha")) {
        callbacks.alpha(ASSOverrideCallbacks::kNoValue, 0);
        return length;
    }
    TextScanner scanner(text);
    scanner.literal("\\alpha");
    const auto alpha = hexValue(scanner, 2);
    if (!alpha) {
        return 0;
    }
    callbacks.alpha(static_cast<std::int32_t>(*alpha), 0);
    return lengthBeforeSeparator(scanner);
}

std::size_t matchNumberedAlpha(ASSOverrideCallbacks& callbacks, std::string_view text) {
    int number = 0;
    if (const std::size_t length = matchBareNumbered(text, "a", number)) {
        callbacks.alpha(ASSOverrideCallbacks::kNoValue, number);
        return length;
    }
    TextScanner scanner(text);
    scanner.literal("\\");
    const auto digit = scanner.oneOf("1234");
    scanner.literal("a");
    const auto alpha = hexValue(scanner, 2);
    if (!alpha) {
        return 0;
    }
    callbacks.alpha(static_cast<std::int32_t>(*alpha), *digit - '0');
    return lengthBeforeSeparator(scanner);
}

/// "\<tag>%127[^\}]%1[\}]"
std::size_t matchNamed(std::string_view text, std::string_view tag, std::string_view& name) {
    TextScanner scanner(text);
    scanner.literal(tag);
    const auto scanned = scanner.noneOf(kSeparators, kMaximumNameLength);
    if (!separator(scanner)) {
        return 0;
    }
    name = *scanned;
    return lengthBeforeSeparator(scanner);
}

std::size_t matchFontName(ASSOverrideCallbacks& callbacks, std::string_view text) {
    std::string_view name;
    std::size_t length = matchBare(text, "\\fn");
    if (length == 0) {
        length = matchNamed(text, "\\fn", name);
    }
    if (length != 0) {
        callbacks.fontName(name);
    }
    return length;
}

/// "\<tag>%<width>u%1[\}]"
std::size_t matchUnsigned(std::string_view text, std::string_view tag, std::size_t width,
                          std::uint32_t& value) {
    TextScanner scanner(text);
    scanner.literal(tag);
    const auto scanned = scanner.unsignedDecimal(width);
    if (!separator(scanner)) {
        return 0;
    }
    value = *scanned;
    return lengthBeforeSeparator(scanner);
}

std::size_t matchFontSize(ASSOverrideCallbacks& callbacks, std::string_view text) {
    if (const std::size_t length = matchBare(text, "\\fs")) {
        callbacks.fontSize(ASSOverrideCallbacks::kNoValue);
        return length;
    }
    std::uint32_t size = 0;
    const std::size_t length = matchUnsigned(text, "\\fs", TextScanner::kAnyWidth, size);
    if (length != 0) {
        callbacks.fontSize(static_cast<std::int32_t>(size));
    }
    return length;
}

std::size_t matchLegacyAlignment(ASSOverrideCallbacks& callbacks, std::string_view text) {
    if (const std::size_t length = matchBare(text, "\\a")) {
        callbacks.alignment(ASSOverrideCallbacks::kNoValue);
        return length;
    }
    std::uint32_t code = 0;
    const std::size_t length = matchUnsigned(text, "\\a", 2, code);
    if (length != 0) {
        callbacks.alignment(alignmentFromLegacyTag(code));
    }
    return length;
}

std::size_t matchAlignment(ASSOverrideCallbacks& callbacks, std::string_view text) {
    if (const std::size_t length = matchBare(text, "\\an")) {
        callbacks.alignment(ASSOverrideCallbacks::kNoValue);
        return length;
    }
    std::uint32_t code = 0;
    const std::size_t length = matchUnsigned(text, "\\an", 1, code);
    if (length != 0) {
        callbacks.alignment(static_cast<std::int32_t>(code));
    }
    return length;
}

std::size_t matchCancel(ASSOverrideCallbacks& callbacks, std::string_view text) {
    std::string_view name;
    std::size_t length = matchBare(text, "\\r");
    if (length == 0) {
        length = matchNamed(text, "\\r", name);
    }
    if (length != 0) {
        callbacks.cancelOverrides(name);
    }
    return length;
}

/// "\<tag>(%d,%d…)%1[\}]" with `count` numbers.
std::size_t matchPlace(std::string_view text, std::string_view tag, int count) {
    TextScanner scanner(text);
    scanner.literal(tag);
    for (int i = 0; i < count && scanner.hasMatched(); ++i) {
        scanner.literal(i == 0 ? "(" : ",");
        scanner.decimal();
    }
    scanner.literal(")");
    return separator(scanner) ? lengthBeforeSeparator(scanner) : 0;
}

/// Positions are ignored: style and view place a subtitle.
std::size_t matchPlaces(ASSOverrideCallbacks& /*callbacks*/, std::string_view text) {
    struct Place {
        std::string_view tag;
        int count;
    };
    constexpr std::array<Place, 4> kPlaces{
        {{"\\move", 4}, {"\\move", 6}, {"\\pos", 2}, {"\\org", 2}}};
    for (const auto& [tag, count] : kPlaces) {
        if (const std::size_t length = matchPlace(text, tag, count)) {
            return length;
        }
    }
    return 0;
}

std::size_t unknownTagLength(std::string_view text) {
    const auto end = text.find_first_of(kSeparators, 1);
    return end == std::string_view::npos ? text.size() : end;
}

/// Matches the tag at the start of `text`, and returns its length.
std::size_t scanTag(ASSOverrideCallbacks& callbacks, std::string_view text) {
    constexpr std::array<TagMatcher, 11> kMatchers{
        matchStyle,         matchColor,    matchNumberedColor, matchAlpha,
        matchNumberedAlpha, matchFontName, matchFontSize,      matchLegacyAlignment,
        matchAlignment,     matchCancel,   matchPlaces};
    for (const TagMatcher match : kMatchers) {
        if (const std::size_t length = match(callbacks, text)) {
            return length;
        }
    }
    return unknownTagLength(text);
}

bool isNewLine(std::string_view text) {
    return text.size() >= 2 && text[0] == '\\' && (text[1] == 'n' || text[1] == 'N');
}

bool isBlock(std::string_view text) {
    return text.substr(0, 2) == "{\\";
}

/// The length of a block with its braces; 0 if it is malformed.
std::size_t scanBlock(ASSOverrideCallbacks& callbacks, std::string_view text) {
    std::size_t position = 1;
    while (position < text.size() && text[position] == '\\') {
        position += scanTag(callbacks, text.substr(position));
    }
    return position < text.size() && text[position] == '}' ? position + 1 : 0;
}

/// The length up to the next code, or to the end.
std::size_t plainLength(std::string_view text) {
    std::size_t length = 0;
    while (length < text.size() && !isNewLine(text.substr(length)) &&
           !isBlock(text.substr(length))) {
        const auto next = text.find_first_of("\\{", length + 1);
        length = next == std::string_view::npos ? text.size() : next;
    }
    return length;
}

} // namespace

int scanOverrideCodes(ASSOverrideCallbacks& callbacks, std::string_view text) {
    text = text.substr(0, text.find('\0'));
    while (!text.empty()) {
        std::size_t length = plainLength(text);
        if (length > 0) {
            callbacks.text(text.substr(0, length));
        } else if (isNewLine(text)) {
            callbacks.newLine(text[1] == 'N');
            length = 2;
        } else {
            length = scanBlock(callbacks, text);
            if (length == 0) {
                return AVERROR_INVALIDDATA;
            }
        }
        text.remove_prefix(length);
    }
    return 0;
}

std::int32_t alignmentFromLegacyTag(std::uint32_t code) {
    const auto column = static_cast<std::int32_t>(code & 3U);
    if ((code & 4U) != 0) {
        return column + 6;
    }
    return column + ((code & 8U) != 0 ? 3 : 0);
}

} // namespace zelvane
