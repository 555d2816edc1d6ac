// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <compare>
#include <cstddef>
#include <map>
#include <memory>
#include <vector>

#include <QGlyphRun>
#include <QRawFont>
#include <QTransform>

#include "media_player/subtitles_view/outline_raster.h"
#include "media_player/subtitles_view/text_block.h"
#include "text/string_attributes.h"

namespace zelvane {

/// A letter as it is drawn at one size, from its origin on the baseline.
struct GlyphOutlines {
    Outline letter;
    /// Of the pen that follows the letter.
    Outline stroke;
};

/// Letters that were drawn before: to read one from its font takes longer than to draw it, and
/// subtitles of one track look alike. It holds some megabytes at most. Main thread.
class GlyphOutlineCache {
  public:
    /// The process's cache.
    static GlyphOutlineCache& shared();

    struct Glyph {
        QRawFont font;
        quint32 index = 0;
        /// The font has no bold face, so its letters are made thicker.
        bool isMadeBold = false;
    };
    struct Drawing {
        /// Takes the pixels of the font to those of the picture.
        double scale = 1;
        /// In the pixels of the picture; 0 for no outline.
        double penWidth = 0;
        friend auto operator<=>(const Drawing&, const Drawing&) = default;
    };
    std::shared_ptr<const GlyphOutlines> outlines(const Glyph& glyph, const Drawing& drawing);

  private:
    struct Key {
        int font = 0;
        quint32 glyph = 0;
        bool isMadeBold = false;
        Drawing drawing;
        friend auto operator<=>(const Key&, const Key&) = default;
    };

    int numberOf(const QRawFont& font);

    std::vector<QRawFont> fonts_;
    std::map<Key, std::shared_ptr<const GlyphOutlines>> outlines_;
    std::size_t pointCount_ = 0;
};

/// A letter in its place.
struct PlacedGlyph {
    std::shared_ptr<const GlyphOutlines> outlines;
    QPointF position;
};

/// A letter with colours of its own, which no outline describes.
struct GlyphPicture {
    QRawFont font;
    quint32 glyph = 0;
    QPointF position;
};

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

/// What a piece of a line looks like, in pixels of the picture.
struct TextShape {
    const StringAttributes* attributes = nullptr;
    std::vector<PlacedGlyph> glyphs;
    std::vector<GlyphPicture> pictures;
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
