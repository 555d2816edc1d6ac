// SPDX-License-Identifier: GPL-3.0-or-later
#include "media_player/decoders/subtitles/subtitles_frame.h"

namespace zelvane {

std::string plainText(const Subtitles& subtitles) {
    if (const auto* plain = std::get_if<TextSubtitle>(&subtitles)) {
        return plain->text;
    }
    const auto* lines = std::get_if<std::vector<FormattedTextSubtitle>>(&subtitles);
    std::string text;
    for (std::size_t i = 0; lines != nullptr && i < lines->size(); ++i) {
        text += (i > 0 ? "\n" : "") + (*lines)[i].formattedText->text();
    }
    return text;
}

} // namespace zelvane
