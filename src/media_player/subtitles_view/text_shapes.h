// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>
#include <vector>

#include <QPointF>
#include <QRectF>
#include <QTransform>

#include "media_player/subtitles_view/glyph_cache.h"
#include "media_player/subtitles_view/outline_raster.h"
#include "media_player/subtitles_view/text_block.h"
#include "text/string_attributes.h"

namespace zelvane {

/// How many pixels may still be drawn in all, of letters piled upon each other too: a bound for
/// what is no text that anyone reads.
class InkBudget {
  public:
    InkBudget(const QRectF& picture, double pixels) : picture_(picture), left_(pixels) {}

    /// Whether there was any left before.
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

/// A letter and where its origin lies.
struct PlacedGlyph {
    std::shared_ptr<const DrawnGlyph> glyph;
    QPointF position;
};

/// What a piece of a line looks like, in pixels of the picture.
struct TextShape {
    const StringAttributes* attributes = nullptr;
    std::vector<PlacedGlyph> glyphs;
    Outline underline;
    Outline strikethrough;
    /// What all of it reaches.
    QRectF reach;
};

struct TextShapeSizes {
    /// Takes the pixels of the layout, from the left end of the line's baseline, to those of the
    /// picture.
    QTransform toPicture;
    /// How many pixels of the picture a unit of the text is long.
    double unit = 1;
    /// That the text was laid out with, in its units.
    double maximumFontSize = 0;
};

/// Without the letters for which there is no budget left.
TextShape makeTextShape(const TextSegment& segment, const TextShapeSizes& sizes, InkBudget& budget);

} // namespace zelvane
