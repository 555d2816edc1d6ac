// SPDX-License-Identifier: GPL-3.0-or-later
//
// Reads any bytes as the text of a subtitle file. The result must be UTF-8.
// seeds: subtitles/encodings

#include <cstdlib>
#include <string>
#include <string_view>

#include "foundation/character_encoding.h"
#include "foundation/text.h"
#include "fuzz/fuzz_target.h"
#include "media_player/media_source/subtitles_text_file.h"
#include "media_player/media_source/text_encoding.h"

namespace {

void require(bool holds) {
    if (!holds) {
        std::abort();
    }
}

/// Adds the bytes in two parts, as the packets of a container.
void detectInPieces(std::string_view bytes) {
    zelvane::TextEncodingEvidence evidence;
    evidence.add(bytes.substr(0, bytes.size() / 2));
    evidence.add(bytes.substr(bytes.size() / 2));
    if (const auto encoding = evidence.encoding()) {
        require(zelvane::isKnownCharacterEncoding(*encoding));
        require(zelvane::isValidUTF8(zelvane::decodedText(bytes, *encoding).text));
    }
}

} // namespace

ZELVANE_FUZZ_TARGET(subtitles_encoding, given) {
    const std::string bytes(reinterpret_cast<const char*>(given.data()), given.size());
    detectInPieces(bytes);
    for (const char* name : {"side.srt", "side"}) {
        if (const auto text = zelvane::subtitlesTextOf(bytes, name)) {
            require(zelvane::isValidUTF8(text->text));
            require(text->text.find('\0') == std::string::npos);
        }
    }
}
