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
constexpr qsizetype kWeightClassOffset = 4;
constexpr int kSemiBold = 600;
constexpr qsizetype kStrikeoutSizeOffset = 26;
constexpr qsizetype kStrikeoutPositionOffset = 28;
/// How exactly a pen follows a curve, in pixels.
constexpr double kPenFlatness = 0.1;
/// About 4 MB, which is a thousand letters.
constexpr std::size_t kMaximumCachedPoints = 250000;
/// Fonts stay open while they are remembered.
constexpr std::size_t kMaximumCachedFonts = 32;
/// The pen that makes letters bold, in ems.
constexpr double kBoldPenWidth = 1.0 / 24;
/// In ems: with half of it beyond the letter on each side, there is nothing more to recognise.
constexpr double kMaximumPenWidth = 2;

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

bool isBold(const StringAttributes& attributes) {
    return attributes.font && (attributes.font->traits & kBoldFontMask) != 0;
}

double signedArea(const Outline& outline) {
    double sum = 0;
    outline.forEachLine(
        [&](QPointF from, QPointF to) { sum += from.x() * to.y() - to.x() * from.y(); });
    return sum / 2;
}

/// Whether the face, which may complete the one that was asked for, is of letters that are bold.
/// Variable faces tell one weight and draw another.
bool isBoldFace(const QRawFont& font) {
    const QByteArray table = font.fontTable("OS/2");
    return table.size() < kWeightClassOffset + 2 || !font.fontTable("fvar").isEmpty() ||
           qFromBigEndian<quint16>(table.constData() + kWeightClassOffset) >= kSemiBold;
}

/// The letter with all that a pen along its edge covers.
QPainterPath madeBold(const QPainterPath& letter, double penWidth) {
    QPainterPathStroker stroker;
    stroker.setWidth(penWidth);
    stroker.setJoinStyle(Qt::MiterJoin);
    stroker.setCurveThreshold(kPenFlatness);
    QPainterPath result = stroker.createStroke(letter);
    // Of what runs in opposite directions, one would take away the other.
    const bool runAlike = signedArea(Outline(letter)) * signedArea(Outline(result)) >= 0;
    result.addPath(runAlike ? letter : letter.toReversed());
    result.setFillRule(Qt::WindingFill);
    return result.simplified();
}

double penWidth(const StringAttributes& attributes, const TextShapeSizes& sizes) {
    const double size = effectiveFontSize(attributes, sizes.maximumFontSize) * sizes.unit;
    const double width = std::abs(attributes.strokeWidth.value_or(0)) / 100 * size;
    return width > 0 ? std::min(width, kMaximumPenWidth * size) : 0;
}

/// Puts the glyphs of one segment into their places.
class Shaping {
  public:
    Shaping(TextShape& shape, const TextShapeSizes& sizes, InkBudget& budget)
        : shape_(shape), sizes_(sizes), budget_(budget),
          penWidth_(penWidth(*shape.attributes, sizes)) {}

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
        const bool isMadeBold = isBold(*shape_.attributes) && !isBoldFace(font);
        const GlyphOutlineCache::Drawing drawing{sizes_.toPicture.m11(), penWidth_};
        for (qsizetype i = 0; i < glyphs.size(); ++i) {
            auto outlines = cache_.outlines({font, glyphs[i], isMadeBold}, drawing);
            const QPointF position = sizes_.toPicture.map(positions[i]);
            const QRectF bounds =
                (outlines->letter.bounds() | outlines->stroke.bounds()).translated(position);
            if (budget_.spend(bounds)) {
                shape_.reach |= bounds;
                shape_.glyphs.push_back({std::move(outlines), position});
            }
        }
    }

    void addPictures(const QGlyphRun& run, QRawFont font) {
        const QList<quint32> glyphs = run.glyphIndexes();
        const QList<QPointF> positions = run.positions();
        font.setPixelSize(font.pixelSize() * sizes_.toPicture.m11());
        for (qsizetype i = 0; i < glyphs.size(); ++i) {
            const QPointF position = sizes_.toPicture.map(positions[i]);
            const QRectF bounds =
                font.boundingRect(glyphs[i]).translated(position).adjusted(-1, -1, 1, 1);
            if (budget_.spend(bounds)) {
                shape_.reach |= bounds;
                shape_.pictures.push_back({font, glyphs[i], position});
            }
        }
    }

    TextShape& shape_;
    const TextShapeSizes& sizes_;
    InkBudget& budget_;
    GlyphOutlineCache& cache_ = GlyphOutlineCache::shared();
    const double penWidth_;
};

} // namespace

GlyphOutlineCache& GlyphOutlineCache::shared() {
    // Never destroyed: fonts cannot be given back when the toolkit is gone.
    static GlyphOutlineCache& cache = *std::make_unique<GlyphOutlineCache>().release();
    return cache;
}

std::shared_ptr<const GlyphOutlines> GlyphOutlineCache::outlines(const Glyph& glyph,
                                                                 const Drawing& drawing) {
    const Key key{numberOf(glyph.font), glyph.index, glyph.isMadeBold, drawing};
    const auto known = outlines_.find(key);
    if (known != outlines_.end()) {
        return known->second;
    }
    QPainterPath path = QTransform::fromScale(drawing.scale, drawing.scale)
                            .map(glyph.font.pathForGlyph(glyph.index));
    if (glyph.isMadeBold) {
        path = madeBold(path, glyph.font.pixelSize() * drawing.scale * kBoldPenWidth);
    }
    auto made = std::make_shared<const GlyphOutlines>(GlyphOutlines{
        Outline(path), drawing.penWidth > 0 ? strokeOf(path, drawing.penWidth) : Outline()});
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

TextShape makeTextShape(const TextSegment& segment, const TextShapeSizes& sizes,
                        InkBudget& budget) {
    TextShape shape;
    shape.attributes = segment.attributes;
    Shaping shaping(shape, sizes, budget);
    for (const QGlyphRun& run : segment.glyphs) {
        shaping.add(run);
    }
    shaping.addLines(segment);
    // The whole of it is gone through, for every pass.
    budget.spend(shape.reach);
    return shape;
}

} // namespace zelvane
