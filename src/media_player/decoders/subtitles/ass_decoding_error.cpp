// SPDX-License-Identifier: GPL-3.0-or-later
#include "media_player/decoders/subtitles/ass_decoding_error.h"

#include <utility>

#include <fmt/format.h>

namespace zelvane {

ASSDecodingError::ASSDecodingError(Case errorCase, std::string styleName,
                                   std::int32_t alignmentValue, std::string description)
    : Error(std::move(description)), case_(errorCase), styleName_(std::move(styleName)),
      alignmentValue_(alignmentValue) {}

ASSDecodingError ASSDecodingError::duplicateStyleName(const std::string& name) {
    return {Case::duplicateStyleName, name, 0, fmt::format("duplicateStyleName(\"{}\")", name)};
}

ASSDecodingError ASSDecodingError::invalidTextAlignmentValue(std::int32_t value) {
    return {Case::invalidTextAlignmentValue,
            {},
            value,
            fmt::format("invalidTextAlignmentValue({})", value)};
}

ASSDecodingError ASSDecodingError::invalidASSHeaderBytes() {
    return {Case::invalidASSHeaderBytes, {}, 0, "invalidASSHeaderBytes"};
}

ASSDecodingError ASSDecodingError::invalidDialogBytes() {
    return {Case::invalidDialogBytes, {}, 0, "invalidDialogBytes"};
}

} // namespace zelvane
