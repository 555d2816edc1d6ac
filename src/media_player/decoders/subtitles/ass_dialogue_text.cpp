// SPDX-License-Identifier: GPL-3.0-or-later
#include "media_player/decoders/subtitles/ass_dialogue_text.h"

namespace zelvane {
namespace {

constexpr int kFieldsBeforeText = 8;
constexpr std::string_view kNoBreakSpace = "\xc2\xa0";

std::string_view textField(std::string_view dialogue) {
    for (int field = 0; field < kFieldsBeforeText; ++field) {
        const auto comma = dialogue.find(',');
        if (comma == std::string_view::npos) {
            return {};
        }
        dialogue.remove_prefix(comma + 1);
    }
    while (!dialogue.empty() && (dialogue.back() == '\n' || dialogue.back() == '\r')) {
        dialogue.remove_suffix(1);
    }
    return dialogue;
}

/// What a backslash and the letter after it stand for; empty when they stand for themselves.
std::string_view escaped(char letter) {
    switch (letter) {
    case 'N':
    case 'n':
        return "\n";
    case 'h':
        return kNoBreakSpace;
    default:
        return {};
    }
}

} // namespace

std::string plainTextOfASSDialogue(std::string_view dialogue) {
    const std::string_view text = textField(dialogue);
    std::string plain;
    plain.reserve(text.size());
    // Once no brace closes any more, the rest need not be searched again for each that opens.
    bool blocksEnd = true;
    for (std::size_t index = 0; index < text.size(); ++index) {
        if (text[index] == '{' && blocksEnd) {
            const auto end = text.find('}', index);
            if (end != std::string_view::npos) {
                index = end;
                continue;
            }
            blocksEnd = false;
        }
        if (text[index] == '\\' && index + 1 < text.size()) {
            const std::string_view meaning = escaped(text[index + 1]);
            if (!meaning.empty()) {
                plain += meaning;
                ++index;
                continue;
            }
        }
        plain += text[index];
    }
    return plain;
}

} // namespace zelvane
