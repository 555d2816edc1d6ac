// SPDX-License-Identifier: GPL-3.0-or-later
//
// Decodes bytes as an ASS script: the header, and each line both as a dialogue and as an event.
// seeds: ass-scripts

#include <algorithm>
#include <string>
#include <string_view>

#include "foundation/error.h"
#include "fuzz/fuzz_target.h"
#include "media_player/decoders/subtitles/ass_decoder.h"
#include "media_player/decoders/subtitles/ass_stock_form.h"

namespace {

using namespace zelvane;

void decodeDialogs(ASSDecoder& decoder, std::string_view text) {
    for (const auto& dialog : decoder.splitDialogs(text)) {
        try {
            decoder.formattedTextSubtitle(dialog);
        } catch (const Error&) {
            // A malformed block loses only its line.
            continue;
        }
    }
}

void decodeLines(ASSDecoder& decoder, std::string_view text) {
    while (!text.empty()) {
        const std::string_view line = text.substr(0, text.find('\n'));
        decodeDialogs(decoder, line);
        if (const auto dialogue = dialogueLine(line)) {
            decodeDialogs(decoder, *dialogue);
        }
        text.remove_prefix(std::min(line.size() + 1, text.size()));
    }
}

void decode(const std::string& header, ASSHeaderOrigin origin, std::string_view text) {
    try {
        ASSDecoder decoder(header, origin, sharedSubtitleTextStyling());
        decodeLines(decoder, text);
    } catch (const Error&) {
        // The header is unusable.
        return;
    }
}

} // namespace

ZELVANE_FUZZ_TARGET(ass_text, bytes) {
    const std::string_view text(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    decode(std::string(text), ASSHeaderOrigin::script, text);
    decode(scriptHeader(text, ASSEventColumns::ofHeader), ASSHeaderOrigin::madeByLibrary, text);
}
