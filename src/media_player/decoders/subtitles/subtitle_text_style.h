// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "foundation/geometry.h"
#include "text/string_attributes.h"

namespace zelvane {

/// The look of a text subtitle apart from the attributes of its runs, and how it scales with the
/// picture. It comes from the styles of a script, or from the user's caption appearance. A value.
struct SubtitleTextStyle {
    struct TextAttributes {
        StringAttributes underlyingTextAttributes;
        FontTraitMask fontTraits = 0;

        /// The font of the attributes, or Helvetica at 12 without one.
        Font font() const;
        /// Sets `font`, with exactly these traits, in the attributes.
        void setFont(const Font& font);

        friend bool operator==(const TextAttributes&, const TextAttributes&) = default;
    };

    /// The box behind the text.
    struct OverlayStyle {
        /// The distance from the text to the box's edge on each side.
        CGSize insets;
        double cornerRadius = 0;
        SRGBColor backgroundColor;

        friend bool operator==(const OverlayStyle&, const OverlayStyle&) = default;
    };

    /// The horizontal position of the block of text.
    enum class Alignment { left = 0, center = 1, right = 2 };

    struct ScalingInfo {
        /// The font size for which the attributes were made.
        double initialBaseFontSize = 0;
        /// The height of text of that size, in percent of the height of the picture.
        double baseFontSizePercentageRelativeToVideoHeight = 0;
        /// An additional factor for the text, but not for the container's insets.
        double additionalFontSizeMultiplier = 1;

        friend bool operator==(const ScalingInfo&, const ScalingInfo&) = default;
    };

    TextAttributes textAttributes;
    OverlayStyle overlayStyle;
    /// In the units of scalingInfo.
    NSEdgeInsets containerInsets;
    Alignment alignmentInContainer = Alignment::center;
    /// True for the user's style: a file decides bold, italic, underline, strike-out and alignment,
    /// and nothing else.
    bool shouldRestrictOverridesToBasicAttributes = false;
    ScalingInfo scalingInfo;

    /// Applies what this style allows of `other`: the basic attributes when it restricts overrides
    /// to them, else everything.
    void applyOverrides(const SubtitleTextStyle& other);

    friend bool operator==(const SubtitleTextStyle&, const SubtitleTextStyle&) = default;
};

} // namespace zelvane
