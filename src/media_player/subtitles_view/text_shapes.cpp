// SPDX-License-Identifier: GPL-3.0-or-later
#include "media_player/subtitles_view/text_shapes.h"

#include <algorithm>
#include <cmath>

#include <QColor>
#include <QPainter>
#include <QRawFont>
#include <QtEndian>

namespace zelvane {
namespace {

/// Of OpenType's table "OS/2".
constexpr qsizetype kStrikeoutSizeOffset = 26;
constexpr qsizetype kStrikeoutPositionOffset = 28;

SRGBColor foreground(const StringAttributes& attributes) {
    return attributes.foregroundColor.value_or(kBlackColor);
}

bool isFilled(const StringAttributes& attributes) {
    return attributes.strokeWidth.value_or(0) <= 0;
}

bool hasColors(const QRawFont& font) {
    return !font.fontTable("CBDT").isEmpty() || !font.fontTable("sbix").isEmpty();
}

QRectF strikethroughRect(const QRawFont& font) {
    const QByteArray table = font.fontTable("OS/2");
    const double scale = font.unitsPerEm() > 0 ? font.pixelSize() / font.unitsPerEm() : 0;
    if (table.size() < kStrikeoutPositionOffset + 2 || scale == 0) {
        return {0, -font.xHeight() / 2 - font.lineThickness() / 2, 0, font.lineThickness()};
    }
    const auto number = [&](qsizetype offset) {
        return scale * qFromBigEndian<qint16>(table.constData() + offset);
    };
    return {0, -number(kStrikeoutPositionOffset), 0, number(kStrikeoutSizeOffset)};
}

QRectF underlineRect(const QRawFont& font) {
    return {0, font.underlinePosition(), 0, font.lineThickness()};
}

/// A line at the height of `rect`, along the whole segment.
QPainterPath lineAlong(const TextSegment& segment, const QTransform& toPicture, double unit,
                       const QRectF& rect) {
    QRectF line = toPicture.mapRect(rect);
    line.setLeft(line.left() + segment.left * unit);
    line.setWidth(segment.width * unit);
    QPainterPath path;
    path.addRect(line);
    return path;
}

} // namespace

QColor qColor(const SRGBColor& color) {
    const auto component = [](double value) {
        return static_cast<float>(std::isfinite(value) ? std::clamp(value, 0.0, 1.0) : 0.0);
    };
    return QColor::fromRgbF(component(color.red), component(color.green), component(color.blue),
                            component(color.alpha));
}

TextShape::TextShape(const TextSegment& segment, const QTransform& toPicture, double unit,
                     const TextShapeLimits& limits)
    : attributes_(segment.attributes) {
    letters_.setFillRule(Qt::WindingFill);
    for (const QGlyphRun& run : segment.glyphs) {
        addGlyphs(run, toPicture);
    }
    const double fontSize = effectiveFontSize(*attributes_, limits.fontSize) * unit;
    addStroke(fontSize, limits.length);
    addLines(segment, toPicture, unit);
    for (const QPainterPath* path : {&letters_, &stroke_, &underline_, &strikethrough_}) {
        reach_ |= path->controlPointRect();
    }
}

void TextShape::addGlyphs(const QGlyphRun& run, const QTransform& toPicture) {
    const QRawFont font = run.rawFont();
    const QList<quint32> glyphs = run.glyphIndexes();
    const QList<QPointF> positions = run.positions();
    const double scale = toPicture.m11();
    if (hasColors(font)) {
        addPictures(font, glyphs, positions, toPicture);
        return;
    }
    for (qsizetype i = 0; i < glyphs.size(); ++i) {
        const QPointF position = toPicture.map(positions[i]);
        letters_.addPath(QTransform(scale, 0, 0, scale, position.x(), position.y())
                             .map(font.pathForGlyph(glyphs[i])));
    }
}

void TextShape::addPictures(QRawFont font, const QList<quint32>& glyphs,
                            const QList<QPointF>& positions, const QTransform& toPicture) {
    font.setPixelSize(font.pixelSize() * toPicture.m11());
    for (qsizetype i = 0; i < glyphs.size(); ++i) {
        const QPointF position = toPicture.map(positions[i]);
        pictures_.push_back({font, glyphs[i], position});
        reach_ |= font.boundingRect(glyphs[i]).translated(position).adjusted(-1, -1, 1, 1);
    }
}

void TextShape::addStroke(double fontSize, double longest) {
    const double width = std::abs(attributes_->strokeWidth.value_or(0)) / 100 * fontSize;
    if (!(width > 0)) {
        return;
    }
    QPainterPathStroker stroker;
    stroker.setWidth(std::min(width, longest));
    stroker.setJoinStyle(Qt::BevelJoin);
    stroke_ = stroker.createStroke(letters_);
    stroke_.setFillRule(Qt::WindingFill);
}

void TextShape::addLines(const TextSegment& segment, const QTransform& toPicture, double unit) {
    const QRawFont font = segment.glyphs.front().rawFont();
    if (attributes_->underlineStyle.value_or(0) != 0) {
        underline_ = lineAlong(segment, toPicture, unit, underlineRect(font));
    }
    if (attributes_->strikethroughStyle.value_or(0) != 0) {
        strikethrough_ = lineAlong(segment, toPicture, unit, strikethroughRect(font));
    }
}

void TextShape::drawStroke(QPainter& painter) const {
    if (!stroke_.isEmpty()) {
        painter.fillPath(stroke_,
                         qColor(attributes_->strokeColor.value_or(foreground(*attributes_))));
    }
}

void TextShape::drawFill(QPainter& painter) const {
    const SRGBColor color = foreground(*attributes_);
    painter.fillPath(underline_, qColor(attributes_->underlineColor.value_or(color)));
    if (isFilled(*attributes_)) {
        painter.fillPath(letters_, qColor(color));
    }
    drawPictures(painter);
    painter.fillPath(strikethrough_, qColor(attributes_->strikethroughColor.value_or(color)));
}

void TextShape::drawPictures(QPainter& painter) const {
    const double opacity = painter.opacity();
    painter.setOpacity(opacity * foreground(*attributes_).alpha);
    for (const Picture& picture : pictures_) {
        QGlyphRun run;
        run.setRawFont(picture.font);
        run.setGlyphIndexes({picture.glyph});
        run.setPositions({QPointF()});
        painter.drawGlyphRun(picture.position, run);
    }
    painter.setOpacity(opacity);
}

} // namespace zelvane
