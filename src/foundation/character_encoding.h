// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace zelvane {

/// The name to pass to iconv, or to a library that uses it, for text labelled as `encoding`: the
/// variant that is used in practice, such as WINDOWS-1252 for ISO-8859-1 or CP932 for SHIFT_JIS.
/// Other names are returned unchanged.
std::string effectiveCharacterEncoding(std::string_view encoding);

/// Whether iconv can convert that encoding to UTF-8.
bool isKnownCharacterEncoding(const std::string& encoding);

struct DecodedText {
    /// UTF-8, with U+FFFD for each malformed sequence.
    std::string text;
    std::size_t malformedCount = 0;
};

/// Decodes bytes by the effective name of an encoding. Throws SystemError EINVAL of
/// kPOSIXErrorDomain for an unknown encoding.
DecodedText decodedText(std::string_view bytes, std::string_view encoding);

} // namespace zelvane
