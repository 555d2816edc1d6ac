// SPDX-License-Identifier: GPL-3.0-or-later
#include "media_player/media_source/character_encoding_detector.h"

#include <uchardet/uchardet.h>

#include "foundation/log.h"

namespace zelvane {

void CharacterEncodingDetector::Delete::operator()(uchardet* handle) const {
    uchardet_delete(handle);
}

CharacterEncodingDetector::CharacterEncodingDetector() : uchardet_(uchardet_new()) {}

bool CharacterEncodingDetector::analyzeNextChunk(std::string_view bytes) {
    if (isFinished_) {
        fatalError("A character encoding detector that has finished cannot take in more text.");
    }
    return uchardet_handle_data(uchardet_.get(), bytes.data(), bytes.size()) == 0;
}

std::optional<std::string> CharacterEncodingDetector::finish() {
    uchardet_data_end(uchardet_.get());
    isFinished_ = true;
    std::string name = uchardet_get_charset(uchardet_.get());
    return name.empty() ? std::nullopt : std::optional(std::move(name));
}

} // namespace zelvane
