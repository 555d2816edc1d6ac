// SPDX-License-Identifier: GPL-3.0-or-later
#include "core_media/four_char_code.h"

#include <algorithm>

#include <fmt/format.h>

namespace zelvane {

std::string fourCharCodeText(OSType code) {
    std::string text;
    for (int shift = 24; shift >= 0; shift -= 8) {
        text += static_cast<char>(code >> shift & 0xff);
    }
    const bool printable =
        std::all_of(text.begin(), text.end(), [](char c) { return c >= ' ' && c <= '~'; });
    return printable ? text : fmt::format("0x{:08x}", code);
}

} // namespace zelvane
