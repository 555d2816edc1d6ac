// SPDX-License-Identifier: GPL-3.0-or-later
#include "media_player/media_source/webvtt_blocks.h"

#include <string_view>
#include <utility>

namespace zelvane {
namespace {

/// The text through its next line end: LF, CR or both.
std::string_view firstLine(std::string_view text) {
    const auto end = text.find_first_of("\r\n");
    if (end == std::string_view::npos) {
        return text;
    }
    const bool isPair = text.substr(end, 2) == "\r\n";
    return text.substr(0, end + (isPair ? 2 : 1));
}

bool isBlank(std::string_view line) {
    return line.find_first_not_of("\r\n") == std::string_view::npos;
}

bool opensBlock(std::string_view line) {
    while (!line.empty() &&
           std::string_view(" \t\r\n").find(line.back()) != std::string_view::npos) {
        line.remove_suffix(1);
    }
    return line == "STYLE" || line == "REGION";
}

} // namespace

void removeWebVTTBlocks(std::string& text) {
    if (text.rfind("WEBVTT", 0) != 0) {
        return;
    }
    std::string kept;
    kept.reserve(text.size());
    bool isBehindBlank = false;
    bool isInBlock = false;
    for (std::string_view rest = text; !rest.empty();) {
        const std::string_view line = firstLine(rest);
        rest.remove_prefix(line.size());
        isInBlock = !isBlank(line) && (isInBlock || (isBehindBlank && opensBlock(line)));
        isBehindBlank = isBlank(line);
        if (!isInBlock) {
            kept += line;
        }
    }
    text = std::move(kept);
}

} // namespace zelvane
