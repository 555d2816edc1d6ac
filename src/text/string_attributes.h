// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>

#include "foundation/geometry.h"
#include "text/font.h"

namespace zelvane {

/// A colour of the sRGB space, each component from 0 to 1, not premultiplied.
struct SRGBColor {
    double red = 0;
    double green = 0;
    double blue = 0;
    double alpha = 1;

    SRGBColor withAlpha(double newAlpha) const { return {red, green, blue, newAlpha}; }
    friend bool operator==(const SRGBColor&, const SRGBColor&) = default;
};

inline constexpr SRGBColor kBlackColor{0, 0, 0, 1};
inline constexpr SRGBColor kWhiteColor{1, 1, 1, 1};
inline constexpr SRGBColor kClearWhiteColor{1, 1, 1, 0};

/// The shadow of text. Lengths are in the units of the font's size.
struct TextShadow {
    /// To the right and upward.
    CGSize offset;
    double blurRadius = 0;
    std::optional<SRGBColor> color;

    friend bool operator==(const TextShadow&, const TextShadow&) = default;
};

enum class TextAlignment { left, center, right };

/// The look of a run of text. The renderer chooses what is absent.
struct StringAttributes {
    std::optional<Font> font;
    std::optional<SRGBColor> foregroundColor;
    std::optional<SRGBColor> backgroundColor;
    /// Added to each advance, in the units of the font's size.
    std::optional<double> kern;
    /// 0 for none, 1 for a single line.
    std::optional<int> underlineStyle;
    std::optional<int> strikethroughStyle;
    /// The foreground's if absent.
    std::optional<SRGBColor> underlineColor;
    std::optional<SRGBColor> strikethroughColor;
    /// In percent of the font's size, centred on the outline; below 0 the letters are filled too.
    std::optional<double> strokeWidth;
    /// The foreground colour if absent.
    std::optional<SRGBColor> strokeColor;
    std::optional<TextShadow> shadow;
    /// The alignment of the lines within their block.
    std::optional<TextAlignment> paragraphAlignment;

    friend bool operator==(const StringAttributes&, const StringAttributes&) = default;
};

} // namespace zelvane
