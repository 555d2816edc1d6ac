// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string_view>

namespace zelvane {

/// How little bytes that were read in `encoding` look like text that people write: 0 when nothing
/// is odd, 1 when on average every character outside ASCII is. Odd are what means nothing, a
/// control character, a capital behind a small letter, a symbol inside a word, letters of two
/// alphabets side by side; and for an encoding of Chinese, Japanese or Korean, text that has none
/// of what that language cannot do without. 0 for text of ASCII alone.
double oddness(std::string_view utf8, std::string_view encoding);

} // namespace zelvane
