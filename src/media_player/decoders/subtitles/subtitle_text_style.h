// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "foundation/geometry.h"
#include "text/string_attributes.h"

namespace zelvane {

/// How a subtitle of text looks apart from what its runs carry, and how it grows with the picture.
/// It comes from the styles of a script, or from the person's caption appearance. A value.
struct SubtitleTextStyle {
    struct TextAttributes {
        StringAttributes underlyingTextAttributes;
        FontTraitMask fontTraits = 0;

        /// The font of the attributes, or Helvetica at 12 where they have none.
        Font font() const;
        /// Makes `font`, with these traits and no others, the font of the attributes.
        void setFont(const Font& font);

        friend bool operator==(const TextAttributes&, const TextAttributes&) = default;
    };

    /// The box behind the text.
    struct OverlayStyle {
        /// How far the box reaches beyond the text on each side.
        CGSize insets;
        double cornerRadius = 0;
        SRGBColor backgroundColor;

        friend bool operator==(const OverlayStyle&, const OverlayStyle&) = default;
    };

    /// Where the block of text lies between left and right.
    enum class Alignment { left = 0, center = 1, right = 2 };

    struct ScalingInfo {
        /// The size that the fonts of the attributes were made at.
        double initialBaseFontSize = 0;
        /// How high text of that size appears, in percent of the height of the picture.
        double baseFontSizePercentageRelativeToVideoHeight = 0;
        /// A factor on top, for the text but not for the container's insets.
        double additionalFontSizeMultiplier = 1;

        friend bool operator==(const ScalingInfo&, const ScalingInfo&) = default;
    };

    TextAttributes textAttributes;
    OverlayStyle overlayStyle;
    /// In the units of scalingInfo.
    NSEdgeInsets containerInsets;
    Alignment alignmentInContainer = Alignment::center;
    /// A style of the person's: a file decides bold, italic, underline, strike-out and alignment,
    /// and nothing else.
    bool shouldRestrictOverridesToBasicAttributes = false;
    ScalingInfo scalingInfo;

    /// Takes from `other` what this style allows: the basic attributes when it restricts overrides
    /// to them, else everything.
    void applyOverrides(const SubtitleTextStyle& other);

    friend bool operator==(const SubtitleTextStyle&, const SubtitleTextStyle&) = default;
};

} // namespace zelvane
