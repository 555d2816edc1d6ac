// SPDX-License-Identifier: GPL-3.0-or-later
#include "media_player/subtitles_view/text_shapes.h"

#include <algorithm>
#include <cmath>

#include <QPainterPath>
#include <QPainterPathStroker>
#include <QtEndian>

namespace zelvane {
namespace {

/// Of OpenType's table "OS/2".
constexpr qsizetype kStrikeoutSizeOffset = 26;
constexpr qsizetype kStrikeoutPositionOffset = 28;
/// How exactly a pen follows a curve, in pixels.
constexpr double kPenFlatness = 0.1;
/// About 4 MB, which is a thousand letters.
constexpr std::size_t kMaximumCachedPoints = 250000;
/// Fonts stay open while they are remembered.
constexpr std::size_t kMaximumCachedFonts = 32;

bool hasColors(const QRawFont& font) {
    return !font.fontTable("CBDT").isEmpty() || !font.fontTable("sbix").isEmpty();
}

/// Of the line, from the baseline, in pixels of the font.
QRectF strikethroughRect(const QRawFont& font) {
    const QByteArray table = font.fontTable("OS/2");
    const double scale = font.unitsPerEm() > 0 ? font.pixelSize() / font.unitsPerEm() : 0;
    if (table.size() < kStrikeoutPositionOffset + 2 || scale == 0) {
        return {0, -(font.xHeight() + font.lineThickness()) / 2, 0, font.lineThickness()};
    }
    const auto number = [&](qsizetype offset) {
        return scale * qFromBigEndian<qint16>(table.constData() + offset);
    };
    return {0, -number(kStrikeoutPositionOffset), 0, number(kStrikeoutSizeOffset)};
}

QRectF underlineRect(const QRawFont& font) {
    return {0, font.underlinePosition(), 0, font.lineThickness()};
}

/// A line as high as `rect`, along the whole segment.
Outline lineAlong(const TextSegment& segment, const TextShapeSizes& sizes, const QRectF& rect) {
    QRectF line = sizes.toPicture.mapRect(rect);
    line.setLeft(line.left() + segment.left * sizes.unit);
    line.setWidth(segment.width * sizes.unit);
    QPainterPath path;
    path.addRect(line);
    return Outline(path);
}

Outline strokeOf(const QPainterPath& letter, double penWidth) {
    QPainterPathStroker stroker;
    stroker.setWidth(penWidth);
    stroker.setJoinStyle(Qt::BevelJoin);
    stroker.setCurveThreshold(kPenFlatness);
    return Outline(stroker.createStroke(letter));
}

double penWidth(const StringAttributes& attributes, const TextShapeSizes& sizes) {
    const double size = effectiveFontSize(attributes, sizes.maximumFontSize) * sizes.unit;
    const double width = std::abs(attributes.strokeWidth.value_or(0)) / 100 * size;
    return width > 0 ? std::min(width, sizes.maximumPenWidth) : 0;
}

/// Puts the glyphs of one segment into their places.
class Shaping {
  public:
    Shaping(TextShape& shape, const TextShapeSizes& sizes)
        : shape_(shape), sizes_(sizes), penWidth_(penWidth(*shape.attributes, sizes)) {}

    void add(const QGlyphRun& run) {
        const QRawFont font = run.rawFont();
        if (hasColors(font)) {
            addPictures(run, font);
        } else {
            addOutlines(run, font);
        }
    }

    void addLines(const TextSegment& segment) {
        const QRawFont font = segment.glyphs.front().rawFont();
        if (shape_.attributes->underlineStyle.value_or(0) != 0) {
            shape_.underline = lineAlong(segment, sizes_, underlineRect(font));
        }
        if (shape_.attributes->strikethroughStyle.value_or(0) != 0) {
            shape_.strikethrough = lineAlong(segment, sizes_, strikethroughRect(font));
        }
        shape_.reach |= shape_.underline.bounds() | shape_.strikethrough.bounds();
    }

  private:
    void addOutlines(const QGlyphRun& run, const QRawFont& font) {
        const QList<quint32> glyphs = run.glyphIndexes();
        const QList<QPointF> positions = run.positions();
        for (qsizetype i = 0; i < glyphs.size(); ++i) {
            auto outlines = cache_.outlines(font, glyphs[i], sizes_.toPicture.m11(), penWidth_);
            const QPointF position = sizes_.toPicture.map(positions[i]);
            shape_.reach |=
                (outlines->letter.bounds() | outlines->stroke.bounds()).translated(position);
            shape_.glyphs.push_back({std::move(outlines), position});
        }
    }

    void addPictures(const QGlyphRun& run, QRawFont font) {
        const QList<quint32> glyphs = run.glyphIndexes();
        const QList<QPointF> positions = run.positions();
        font.setPixelSize(font.pixelSize() * sizes_.toPicture.m11());
        for (qsizetype i = 0; i < glyphs.size(); ++i) {
            const QPointF position = sizes_.toPicture.map(positions[i]);
            shape_.reach |=
                font.boundingRect(glyphs[i]).translated(position).adjusted(-1, -1, 1, 1);
            shape_.pictures.push_back({font, glyphs[i], position});
        }
    }

    TextShape& shape_;
    const TextShapeSizes& sizes_;
    GlyphOutlineCache& cache_ = GlyphOutlineCache::shared();
    const double penWidth_;
};

} // namespace

GlyphOutlineCache& GlyphOutlineCache::shared() {
    // Never destroyed: fonts cannot be given back when the toolkit is gone.
    static GlyphOutlineCache& cache = *std::make_unique<GlyphOutlineCache>().release();
    return cache;
}

std::shared_ptr<const GlyphOutlines>
GlyphOutlineCache::outlines(const QRawFont& font, quint32 glyph, double scale, double penWidth) {
    const Key key{numberOf(font), glyph, scale, penWidth};
    const auto known = outlines_.find(key);
    if (known != outlines_.end()) {
        return known->second;
    }
    const QPainterPath path = QTransform::fromScale(scale, scale).map(font.pathForGlyph(glyph));
    auto made = std::make_shared<const GlyphOutlines>(
        GlyphOutlines{Outline(path), penWidth > 0 ? strokeOf(path, penWidth) : Outline()});
    pointCount_ += made->letter.pointCount() + made->stroke.pointCount();
    outlines_.emplace(key, made);
    return made;
}

int GlyphOutlineCache::numberOf(const QRawFont& font) {
    if (pointCount_ > kMaximumCachedPoints || fonts_.size() > kMaximumCachedFonts) {
        outlines_.clear();
        fonts_.clear();
        pointCount_ = 0;
    }
    const auto found = std::find(fonts_.begin(), fonts_.end(), font);
    if (found != fonts_.end()) {
        return static_cast<int>(found - fonts_.begin());
    }
    fonts_.push_back(font);
    return static_cast<int>(fonts_.size()) - 1;
}

TextShape makeTextShape(const TextSegment& segment, const TextShapeSizes& sizes) {
    TextShape shape;
    shape.attributes = segment.attributes;
    Shaping shaping(shape, sizes);
    for (const QGlyphRun& run : segment.glyphs) {
        shaping.add(run);
    }
    shaping.addLines(segment);
    return shape;
}

} // namespace zelvane
