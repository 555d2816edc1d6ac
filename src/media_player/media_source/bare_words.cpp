// SPDX-License-Identifier: GPL-3.0-or-later
#include "media_player/media_source/bare_words.h"

#include <algorithm>
#include <cctype>

namespace zelvane {
namespace {

bool isHigh(char byte) {
    return static_cast<unsigned char>(byte) >= 0x80;
}

bool isDigit(char byte) {
    return byte >= '0' && byte <= '9';
}

/// The words of a script's event: the text after the ninth comma.
std::string_view eventText(std::string_view line) {
    if (line.substr(0, 9) != "Dialogue:" && line.substr(0, 8) != "Comment:") {
        return line;
    }
    constexpr int kFieldsBeforeText = 9;
    std::string_view rest = line;
    for (int field = 0; field < kFieldsBeforeText; ++field) {
        const auto comma = rest.find(',');
        if (comma == std::string_view::npos) {
            return line;
        }
        rest.remove_prefix(comma + 1);
    }
    return rest;
}

/// The length of the markup at the start of `text`; 0 without any.
std::size_t markupLength(std::string_view text) {
    const char closing = text.front() == '{' ? '}' : '>';
    if (text.front() != '{' && text.front() != '<') {
        return 0;
    }
    const auto end = text.find(closing);
    return end == std::string_view::npos ? 0 : end + 1;
}

void appendWordsOfLine(std::string_view line, std::string& words) {
    line = eventText(line);
    bool isBehindHigh = false;
    while (!line.empty()) {
        const std::size_t markup = isBehindHigh ? 0 : markupLength(line);
        if (markup > 0) {
            line.remove_prefix(markup);
            words += ' ';
            continue;
        }
        if (isBehindHigh || !isDigit(line.front())) {
            words += line.front();
        }
        isBehindHigh = isHigh(line.front());
        line.remove_prefix(1);
    }
    words += '\n';
}

} // namespace

void appendBareWords(std::string_view bytes, std::string& words) {
    if (bytes.find("\x1b$") != std::string_view::npos ||
        bytes.find("\x1b(") != std::string_view::npos) {
        words += bytes;
        words += '\n';
        return;
    }
    while (!bytes.empty()) {
        const auto end = std::min(bytes.find('\n'), bytes.size());
        const std::string_view line = bytes.substr(0, end);
        if (std::any_of(line.begin(), line.end(), isHigh)) {
            appendWordsOfLine(line, words);
        }
        bytes.remove_prefix(std::min(end + 1, bytes.size()));
    }
}

} // namespace zelvane
