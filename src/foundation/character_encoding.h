// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace zelvane {

/// The name to give to iconv, and to libraries that pass it on, for text that is said to be in
/// `encoding`: the variant that text of that name is really written in, as WINDOWS-1252 for
/// ISO-8859-1, or CP932 for SHIFT_JIS. Any other name comes back as it is.
std::string effectiveCharacterEncoding(std::string_view encoding);

/// Whether iconv can turn text of that encoding into UTF-8.
bool isKnownCharacterEncoding(const std::string& encoding);

struct DecodedText {
    /// UTF-8, with U+FFFD for each sequence that means nothing in the encoding.
    std::string text;
    std::size_t malformedCount = 0;
};

/// Reads bytes as text of an encoding, by its effective name. Throws SystemError of
/// kPOSIXErrorDomain with EINVAL for one that is not known.
DecodedText decodedText(std::string_view bytes, std::string_view encoding);

} // namespace zelvane
