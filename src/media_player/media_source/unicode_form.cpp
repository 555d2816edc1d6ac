// SPDX-License-Identifier: GPL-3.0-or-later
#include "media_player/media_source/unicode_form.h"

#include <array>
#include <cstdint>

namespace zelvane {
namespace {

using namespace std::string_view_literals;

struct Mark {
    std::string_view bytes;
    std::string_view encoding;
};

// Longer marks precede those that they begin with.
constexpr std::array<Mark, 6> kMarks{{
    {"\xff\xfe\0\0"sv, "UTF-32LE"},
    {"\0\0\xfe\xff"sv, "UTF-32BE"},
    {"\xef\xbb\xbf"sv, "UTF-8"},
    {"\xff\xfe"sv, "UTF-16LE"},
    {"\xfe\xff"sv, "UTF-16BE"},
    {"\x84\x31\x95\x33"sv, "GB18030"},
}};

enum class Order { littleEndian, bigEndian };

struct WideForm {
    std::string_view encoding;
    std::size_t unitSize;
    Order order;
};

// UTF-32 first: it can be read as UTF-16 with a NUL as every other character.
constexpr std::array<WideForm, 4> kWideForms{{
    {"UTF-32LE", 4, Order::littleEndian},
    {"UTF-32BE", 4, Order::bigEndian},
    {"UTF-16LE", 2, Order::littleEndian},
    {"UTF-16BE", 2, Order::bigEndian},
}};

std::uint32_t unitAt(std::string_view bytes, std::size_t position, const WideForm& form) {
    std::uint32_t unit = 0;
    for (std::size_t i = 0; i < form.unitSize; ++i) {
        const bool isLittle = form.order == Order::littleEndian;
        const std::size_t place = isLittle ? form.unitSize - 1 - i : i;
        unit = unit << 8U | static_cast<unsigned char>(bytes[position + place]);
    }
    return unit;
}

bool isCharacterUnit(std::uint32_t unit, const WideForm& form) {
    const bool isSurrogate = unit >= 0xd800 && unit <= 0xdfff;
    return unit != 0 && unit <= 0x10ffff && !(form.unitSize == 4 && isSurrogate);
}

/// Eight-bit text that is read in a wide form has no line ends: they need an adjacent zero byte.
bool makesLines(std::string_view bytes, const WideForm& form) {
    std::size_t lineEnds = 0;
    for (std::size_t i = 0; i + form.unitSize <= bytes.size(); i += form.unitSize) {
        const std::uint32_t unit = unitAt(bytes, i, form);
        if (!isCharacterUnit(unit, form)) {
            return false;
        }
        lineEnds += unit == '\n' || unit == '\r' ? 1U : 0U;
    }
    return lineEnds > 0;
}

} // namespace

std::optional<UnicodeForm> unicodeForm(std::string_view start) {
    for (const Mark& mark : kMarks) {
        if (start.substr(0, mark.bytes.size()) == mark.bytes) {
            return UnicodeForm{mark.encoding, mark.bytes.size()};
        }
    }
    for (const WideForm& form : kWideForms) {
        if (makesLines(start, form)) {
            return UnicodeForm{form.encoding};
        }
    }
    return std::nullopt;
}

} // namespace zelvane
