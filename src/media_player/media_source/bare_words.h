// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>
#include <string_view>

namespace zelvane {

/// What of a subtitles text tells its encoding, for who guesses it by statistics: the words of the
/// lines that are not plain ASCII, one line each. Left out, as they drown the words and look like
/// English or like nothing: all other lines, what stands in braces or angle brackets, digits, and
/// the fields of a script's event before its words. Text that switches its character set by escape
/// sequences, and is all ASCII to the eye, stays as it is.
///
/// A byte behind one above 0x7f may be the second half of a character, and is left alone.
void appendBareWords(std::string_view bytes, std::string& words);

} // namespace zelvane
