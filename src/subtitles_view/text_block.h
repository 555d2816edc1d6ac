// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <vector>

#include <QGlyphRun>

#include "foundation/geometry.h"
#include "text/attributed_string.h"

namespace zelvane {

/// A piece of a line with one set of attributes of the laid-out string, which must outlive the
/// block. Letters that the font lacks are glyphs of other faces.
struct TextSegment {
    /// From the line's left end.
    double left = 0;
    double width = 0;
    /// In pixels of the layout, from the left end of the line's baseline. Never empty.
    std::vector<QGlyphRun> glyphs;
    const StringAttributes* attributes = nullptr;
};

/// One line; the position is from the block's top left.
struct TextLine {
    double left = 0;
    double top = 0;
    double width = 0;
    double height = 0;
    /// Below the line's top.
    double baseline = 0;
    bool isRightToLeft = false;
    std::vector<TextSegment> segments;
};

/// Laid-out text. Lengths are in the units of the fonts' sizes, in which a size is the height of
/// the em, unless stated otherwise. There is no hinting, so that a block looks the same in all
/// sizes.
struct TextBlock {
    std::vector<TextLine> lines;
    CGSize size;
    /// The length of a pixel of the layout.
    double unitsPerPixel = 1;
    /// Whether lines are left out; the last one then ends in an ellipsis.
    bool isTruncated = false;
};

struct TextBlockLimits {
    /// Lines are broken at this width.
    double width = 0;
    /// Lines that end below this are left out, except the first.
    double height = 0;
    /// The largest font size.
    double fontSize = 0;
    /// Whether lines are centred; otherwise they begin at the side of their script's direction.
    bool isCentered = false;
};

/// The size for a font without one.
inline constexpr double kDefaultFontSize = 12;

/// The height of the em with which a font is drawn.
double effectiveFontSize(const StringAttributes& attributes, double maximum);

/// Breaks the text into lines. The time depends on how much of the text fits, not on its length.
/// Main thread.
TextBlock layOutText(const AttributedString& text, const TextBlockLimits& limits);

} // namespace zelvane
