// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>
#include <vector>

#include <QPointF>
#include <QRectF>
#include <QTransform>

#include "subtitles_view/glyph_cache.h"
#include "subtitles_view/outline_raster.h"
#include "subtitles_view/text_block.h"
#include "text/string_attributes.h"

namespace zelvane {

/// The number of pixels that may still be drawn, counting overlapping letters each time: a limit
/// for unreadable text.
class InkBudget {
  public:
    InkBudget(const QRectF& picture, double pixels) : picture_(picture), left_(pixels) {}

    /// Returns whether any was left before.
    bool spend(const QRectF& bounds) {
        const bool isLeft = left_ > 0;
        const QRectF visible = bounds & picture_;
        left_ -= visible.width() * visible.height();
        return isLeft;
    }

  private:
    QRectF picture_;
    double left_;
};

/// A letter and its origin.
struct PlacedGlyph {
    std::shared_ptr<const DrawnGlyph> glyph;
    QPointF position;
};

/// The shapes of a piece of a line, in pixels of the picture.
struct TextShape {
    const StringAttributes* attributes = nullptr;
    std::vector<PlacedGlyph> glyphs;
    Outline underline;
    Outline strikethrough;
    /// The bounds of all shapes.
    QRectF reach;
};

struct TextShapeSizes {
    /// The transform from pixels of the layout, relative to the left end of the line's baseline, to
    /// those of the picture.
    QTransform toPicture;
    /// The length of a unit of the text, in pixels of the picture.
    double unit = 1;
    /// The largest font size of the layout, in its units.
    double maximumFontSize = 0;
};

/// Leaves out letters for which no budget is left.
TextShape makeTextShape(const TextSegment& segment, const TextShapeSizes& sizes, InkBudget& budget);

} // namespace zelvane
