// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <string>

namespace zelvane {

/// A format's name: four characters, the first in the highest byte, or a small number.
using OSType = std::uint32_t;

constexpr OSType fourCharCode(const char (&code)[5]) {
    OSType value = 0;
    for (int i = 0; i < 4; ++i) {
        value = value << 8 | static_cast<unsigned char>(code[i]);
    }
    return value;
}

/// "x420", or "0x00000018" where not all bytes are printable characters.
std::string fourCharCodeText(OSType code);

} // namespace zelvane
