// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "media_player/media_source/character_encoding_detector.h"

namespace zelvane {

/// Tells the encoding of a text of eight-bit units that is shown to it piece by piece. In this
/// order:
///
/// 1. Text of ASCII alone is "ASCII", unless its escape sequences tell more.
/// 2. What is UTF-8 from end to end, or but for one character in eight at most, is "UTF-8": no
///    other encoding happens to look like it for long.
/// 3. Statistics guess by the bare words of the text, without markup, digits and plain lines, of
///    which the first megabyte is enough.
/// 4. The guess is tried against its rivals, the other encodings of its language or alphabet: the
///    text is read in each, and a rival in which it is less than half as odd takes the guess's
///    place. This finds Mac's encodings, which the statistics take for others, and tells Chinese
///    from Japanese by what is written.
///
/// Used by one thread at a time.
class TextEncodingEvidence {
  public:
    /// The next piece, of whole lines. False when the statistics could not take it in.
    bool add(std::string_view bytes);
    /// A name that iconv knows; none for a text without anything in it. Called once, at the end.
    std::optional<std::string> encoding();

  private:
    bool isNearlyUTF8() const;

    CharacterEncodingDetector detector_;
    std::size_t statisticsSize_ = 0;
    bool isASCII_ = true;
    bool isUTF8_ = true;
    bool isEmpty_ = true;
    /// As much of the words as is worth reading several times.
    std::string sample_;
};

} // namespace zelvane
