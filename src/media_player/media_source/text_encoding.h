// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "media_player/media_source/character_encoding_detector.h"

namespace zelvane {

/// Detects the encoding of a text of eight-bit units, which is passed in pieces. In this order:
///
/// 1. Text of ASCII alone is "ASCII", unless it has escape sequences.
/// 2. Text that is UTF-8, but for one character in eight at most, is "UTF-8": other encodings do
///    not look like it for long.
/// 3. A statistical detector analyses the bare words of the text, without markup, digits and plain
///    lines, of which the first megabyte is enough.
/// 4. Its result is compared with its rivals, the other encodings of its language or alphabet: a
///    rival in which the text is less than half as odd replaces it. This finds the Mac encodings,
///    which the detector takes for others, and distinguishes Chinese from Japanese by content.
///
/// Used by one thread at a time.
class TextEncodingEvidence {
  public:
    /// Adds the next piece, of whole lines. Returns false when the detector fails.
    bool add(std::string_view bytes);
    /// A name that iconv knows; none for a text without content. Call once, at the end.
    std::optional<std::string> encoding();

  private:
    bool isNearlyUTF8() const;

    CharacterEncodingDetector detector_;
    std::size_t statisticsSize_ = 0;
    bool isASCII_ = true;
    bool isUTF8_ = true;
    bool isEmpty_ = true;
    /// The part of the words that is worth decoding several times.
    std::string sample_;
};

} // namespace zelvane
