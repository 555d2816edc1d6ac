// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <vector>

#include <QGlyphRun>

#include "foundation/geometry.h"
#include "text/attributed_string.h"

namespace zelvane {

/// A piece of a line with one set of attributes, of the string that was laid out: it has to outlive
/// the block. Letters that the font lacks are in glyphs of other faces.
struct TextSegment {
    /// From the line's left end.
    double left = 0;
    double width = 0;
    /// In the pixels of the layout, from the left end of the line's baseline. There is at least
    /// one.
    std::vector<QGlyphRun> glyphs;
    const StringAttributes* attributes = nullptr;
};

/// One line, from the block's top left.
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

/// Text that was laid out. Lengths are in the units of the fonts' sizes, in which a size is the
/// height of the em, unless they say otherwise. No hint bends the letters, so that a block looks
/// the same in all sizes.
struct TextBlock {
    std::vector<TextLine> lines;
    CGSize size;
    /// How long a pixel of the layout is.
    double unitsPerPixel = 1;
    /// Not all lines had room, and the last one ends in an ellipsis.
    bool isTruncated = false;
};

struct TextBlockLimits {
    /// Lines are broken at this width.
    double width = 0;
    /// Lines that end below it are left out. The first line never is.
    double height = 0;
    /// Fonts are made no larger.
    double fontSize = 0;
    /// Lines lie in the middle of the block, else where the direction of their script begins.
    bool isCentered = false;
};

/// The size of a font that has none.
inline constexpr double kDefaultFontSize = 12;

/// The height of the em that a font is drawn with.
double effectiveFontSize(const StringAttributes& attributes, double maximum);

/// Breaks the text into lines. It takes a time that depends on how much of the text there is room
/// for, whatever its length. Main thread.
TextBlock layOutText(const AttributedString& text, const TextBlockLimits& limits);

} // namespace zelvane
