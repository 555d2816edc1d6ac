// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <string>
#include <utility>

namespace zelvane {

/// A set of the traits below.
using FontTraitMask = std::uint32_t;

inline constexpr FontTraitMask kItalicFontMask = 1;
inline constexpr FontTraitMask kBoldFontMask = 2;

/// A font for drawing text: a value that any thread may copy. It names a family and does not hold
/// the face; the renderer synthesises a trait that the family has no face for.
struct Font {
    /// An installed family, or "sans-serif" if there is none.
    std::string familyName;
    /// In the units of its text.
    double pointSize = 0;
    FontTraitMask traits = 0;

    Font ofSize(double size) const { return {familyName, size, traits}; }
    Font havingTraits(FontTraitMask mask) const { return {familyName, pointSize, traits | mask}; }
    Font notHavingTraits(FontTraitMask mask) const {
        return {familyName, pointSize, traits & ~mask};
    }

    friend bool operator==(const Font&, const Font&) = default;
};

} // namespace zelvane
