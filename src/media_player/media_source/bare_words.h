// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>
#include <string_view>

namespace zelvane {

/// Appends the words of a subtitles text that identify its encoding, as input of a statistical
/// detector: the words of the lines that are not plain ASCII, one line each. It leaves out what the
/// statistics would take for English or for no language: all other lines, text in braces or angle
/// brackets, digits, and the fields of a script's event before its words. Text that switches its
/// character set by escape sequences, and so is all ASCII, is kept whole.
///
/// A byte after one above 0x7f may be the second half of a character: it is kept.
void appendBareWords(std::string_view bytes, std::string& words);

} // namespace zelvane
