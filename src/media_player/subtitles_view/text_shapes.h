// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <vector>

#include <QGlyphRun>
#include <QPainterPath>
#include <QRawFont>
#include <QTransform>

#include "media_player/subtitles_view/text_block.h"
#include "text/string_attributes.h"

class QPainter;

namespace zelvane {

/// Components beyond their range are the nearest within.
QColor qColor(const SRGBColor& color);

struct TextShapeLimits {
    /// That the text was laid out with, in its units.
    double fontSize = 0;
    /// Of the pen that draws outlines, in pixels of the picture.
    double length = 0;
};

/// What a piece of a line looks like, in pixels of the picture.
class TextShape {
  public:
    /// `toPicture` takes the pixels of the layout, from the left end of the line's baseline, to
    /// those of the picture, in which a unit of the text is `unit` long.
    TextShape(const TextSegment& segment, const QTransform& toPicture, double unit,
              const TextShapeLimits& limits);

    const StringAttributes& attributes() const { return *attributes_; }
    /// What the two below reach.
    const QRectF& reach() const { return reach_; }

    /// The outlines of the letters.
    void drawStroke(QPainter& painter) const;
    /// The letters, and the lines under and through them.
    void drawFill(QPainter& painter) const;

  private:
    /// A letter with colours of its own, which no path describes.
    struct Picture {
        QRawFont font;
        quint32 glyph = 0;
        QPointF position;
    };

    void addGlyphs(const QGlyphRun& run, const QTransform& toPicture);
    void addPictures(QRawFont font, const QList<quint32>& glyphs, const QList<QPointF>& positions,
                     const QTransform& toPicture);
    void addStroke(double fontSize, double longest);
    void addLines(const TextSegment& segment, const QTransform& toPicture, double unit);
    void drawPictures(QPainter& painter) const;

    const StringAttributes* attributes_;
    QPainterPath letters_;
    QPainterPath stroke_;
    QPainterPath underline_;
    QPainterPath strikethrough_;
    std::vector<Picture> pictures_;
    QRectF reach_;
};

} // namespace zelvane
