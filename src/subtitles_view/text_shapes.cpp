// SPDX-License-Identifier: GPL-3.0-or-later
#include "subtitles_view/text_shapes.h"

#include <algorithm>
#include <cmath>

#include <QPainterPath>
#include <QRawFont>
#include <QtEndian>

namespace zelvane {
namespace {

/// Of OpenType's table "OS/2".
constexpr qsizetype kStrikeoutSizeOffset = 26;
constexpr qsizetype kStrikeoutPositionOffset = 28;
/// In ems: with half of it on each side, letters are unrecognisable.
constexpr double kMaximumPenWidth = 2;

bool isBold(const StringAttributes& attributes) {
    return attributes.font && (attributes.font->traits & kBoldFontMask) != 0;
}

double penWidth(const StringAttributes& attributes, const TextShapeSizes& sizes) {
    const double size = effectiveFontSize(attributes, sizes.maximumFontSize) * sizes.unit;
    const double width = std::abs(attributes.strokeWidth.value_or(0)) / 100 * size;
    return width > 0 ? std::min(width, kMaximumPenWidth * size) : 0;
}

/// The position of the line relative to the baseline, in pixels of the font.
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

void addGlyphs(TextShape& shape, const QGlyphRun& run, const TextShapeSizes& sizes,
               InkBudget& budget) {
    const QRawFont font = run.rawFont();
    const QList<quint32> indexes = run.glyphIndexes();
    const QList<QPointF> positions = run.positions();
    const GlyphLook look{isBold(*shape.attributes), sizes.toPicture.m11(),
                         penWidth(*shape.attributes, sizes)};
    for (qsizetype i = 0; i < indexes.size(); ++i) {
        auto glyph = GlyphCache::shared().glyph(font, indexes[i], look);
        const QPointF position = sizes.toPicture.map(positions[i]);
        const QRectF bounds = glyph->bounds().translated(position);
        if (budget.spend(bounds)) {
            shape.reach |= bounds;
            shape.glyphs.push_back({std::move(glyph), position});
        }
    }
}

void addLines(TextShape& shape, const TextSegment& segment, const TextShapeSizes& sizes) {
    const QRawFont font = segment.glyphs.front().rawFont();
    if (shape.attributes->underlineStyle.value_or(0) != 0) {
        shape.underline = lineAlong(segment, sizes, underlineRect(font));
    }
    if (shape.attributes->strikethroughStyle.value_or(0) != 0) {
        shape.strikethrough = lineAlong(segment, sizes, strikethroughRect(font));
    }
    shape.reach |= shape.underline.bounds() | shape.strikethrough.bounds();
}

} // namespace

TextShape makeTextShape(const TextSegment& segment, const TextShapeSizes& sizes,
                        InkBudget& budget) {
    TextShape shape;
    shape.attributes = segment.attributes;
    for (const QGlyphRun& run : segment.glyphs) {
        addGlyphs(shape, run, sizes, budget);
    }
    addLines(shape, segment, sizes);
    // The drawing passes visit the whole shape.
    budget.spend(shape.reach);
    return shape;
}

} // namespace zelvane
