// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <compare>
#include <cstddef>
#include <map>
#include <memory>
#include <vector>

#include <QImage>
#include <QRawFont>
#include <QRectF>

#include "subtitles_view/outline_raster.h"

namespace zelvane {

/// A letter at one size, in pixels from its origin on the baseline.
struct DrawnGlyph {
    Outline letter;
    /// The area of a pen that follows the letter's outline.
    Outline stroke;
    /// Both together, with half of the stroke's lines; empty if they must be drawn separately.
    Outline body;

    bool hasBody() const { return !body.isEmpty() || stroke.isEmpty(); }
    /// The picture of a letter with colours of its own, instead of outlines: premultiplied, drawn
    /// into the rectangle.
    QImage picture;
    QRectF pictureRect;

    QRectF bounds() const { return letter.bounds() | stroke.bounds() | pictureRect; }
};

struct GlyphLook {
    /// Whether letters of a face that is not bold are made thicker.
    bool isBold = false;
    /// The scale from pixels of the font to those of the picture.
    double scale = 1;
    /// In the pixels of the picture; 0 for no outline.
    double penWidth = 0;

    friend auto operator<=>(const GlyphLook&, const GlyphLook&) = default;
};

/// Caches drawn letters: reading one from its font takes longer than drawing it, and the subtitles
/// of one track look alike. It uses a few megabytes at most. Main thread.
class GlyphCache {
  public:
    /// The process's cache.
    static GlyphCache& shared();

    std::shared_ptr<const DrawnGlyph> glyph(const QRawFont& font, quint32 index,
                                            const GlyphLook& look);

  private:
    struct Face {
        QRawFont font;
        bool hasPictures = false;
        bool isBold = false;
    };
    struct Key {
        std::size_t face = 0;
        quint32 index = 0;
        GlyphLook look;
        friend auto operator<=>(const Key&, const Key&) = default;
    };

    std::size_t faceOf(const QRawFont& font);
    void makeRoom();

    std::vector<Face> faces_;
    std::map<Key, std::shared_ptr<const DrawnGlyph>> glyphs_;
    /// The size of the glyphs in bytes.
    std::size_t size_ = 0;
};

} // namespace zelvane
