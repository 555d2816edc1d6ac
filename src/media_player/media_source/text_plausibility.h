// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string_view>

namespace zelvane {

/// How little a text that was read in `encoding` looks like text that people write: 0 when nothing
/// is odd, 1 when on average every character outside ASCII is. Odd are characters without a
/// meaning, control characters, a capital after a small letter, a symbol inside a word, adjacent
/// letters of two alphabets; and for an encoding of Chinese, Japanese or Korean, text without the
/// characters that the language needs most. 0 for text of ASCII alone.
double oddness(std::string_view utf8, std::string_view encoding);

} // namespace zelvane
