// SPDX-License-Identifier: GPL-3.0-or-later
#include "foundation/url.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <optional>

#include <fmt/format.h>

namespace zelvane {
namespace {

bool isLetter(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}
bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

/// The length of the scheme at the start of `text`, without its colon; 0 if there is none.
std::size_t schemeLength(std::string_view text) {
    if (text.empty() || !isLetter(text.front())) {
        return 0;
    }
    const auto end = std::find_if_not(text.begin(), text.end(), [](char c) {
        return isLetter(c) || isDigit(c) || c == '+' || c == '-' || c == '.';
    });
    return end != text.end() && *end == ':' ? static_cast<std::size_t>(end - text.begin()) : 0;
}

/// The byte of a percent escape at the start of `text`. None for NUL, which would end the path and
/// name another file.
std::optional<char> escapedByte(std::string_view text) {
    if (text.size() < 3 || text.front() != '%') {
        return std::nullopt;
    }
    unsigned value = 0;
    const char* const end = text.data() + 3;
    const auto result = std::from_chars(text.data() + 1, end, value, 16);
    if (result.ec != std::errc() || result.ptr != end || value == 0) {
        return std::nullopt;
    }
    return static_cast<char>(value);
}

std::string percentDecoded(std::string_view text) {
    std::string decoded;
    decoded.reserve(text.size());
    while (!text.empty()) {
        const auto byte = escapedByte(text);
        decoded.push_back(byte.value_or(text.front()));
        text.remove_prefix(byte ? 3 : 1);
    }
    return decoded;
}

std::string percentEncodedPath(std::string_view path) {
    constexpr std::string_view kAllowed = "/-._~!$&'()*+,=:@";
    std::string encoded;
    for (const char c : path) {
        if (isLetter(c) || isDigit(c) || kAllowed.find(c) != std::string_view::npos) {
            encoded.push_back(c);
        } else {
            encoded += fmt::format("%{:02X}", static_cast<unsigned char>(c));
        }
    }
    return encoded;
}

} // namespace

URL URL::fromPath(const std::filesystem::path& path) {
    const std::string absolute = std::filesystem::absolute(path).string();
    return {"file", absolute, "file://" + percentEncodedPath(absolute)};
}

URL URL::parse(std::string_view text) {
    const auto length = schemeLength(text);
    std::string_view rest = length == 0 ? text : text.substr(length + 1);
    if (rest.substr(0, 2) == "//") {
        const auto pathStart = rest.find_first_of("/?#", 2);
        rest = pathStart == std::string_view::npos ? std::string_view() : rest.substr(pathStart);
    }
    rest = rest.substr(0, rest.find_first_of("?#"));
    return {std::string(text.substr(0, length)), percentDecoded(rest), std::string(text)};
}

bool URL::isFileURL() const {
    constexpr std::string_view kFile = "file";
    return std::equal(scheme_.begin(), scheme_.end(), kFile.begin(), kFile.end(),
                      [](char a, char b) { return std::tolower(a) == b; });
}

std::string URL::lastPathComponent() const {
    const auto last = path_.find_last_not_of('/');
    if (last == std::string::npos) {
        return path_.empty() ? "" : "/";
    }
    const std::string_view trimmed = std::string_view(path_).substr(0, last + 1);
    return std::string(trimmed.substr(trimmed.rfind('/') + 1));
}

} // namespace zelvane
