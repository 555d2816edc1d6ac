// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <vector>

#include <QImage>
#include <QPainterPath>
#include <QPointF>
#include <QRect>
#include <QRectF>

#include "text/string_attributes.h"

namespace zelvane {

/// Closed contours of straight lines, in pixels.
class Outline {
  public:
    Outline() = default;
    /// Converts curves to lines without a visible difference.
    explicit Outline(const QPainterPath& path);

    bool isEmpty() const { return points_.empty(); }
    std::size_t pointCount() const { return points_.size(); }
    const QRectF& bounds() const { return bounds_; }

    /// Calls `line(from, to)` for each side of each contour.
    template <class Line>
    void forEachLine(Line&& line) const {
        std::size_t start = 0;
        for (const std::size_t end : contourEnds_) {
            for (std::size_t i = start; i < end; ++i) {
                line(points_[i], points_[i + 1 < end ? i + 1 : start]);
            }
            start = end;
        }
    }

  private:
    void addCurve(QPointF control1, QPointF control2, QPointF end);
    void endContour();

    std::vector<QPointF> points_;
    /// For each contour, the index after its last point.
    std::vector<std::size_t> contourEnds_;
    QRectF bounds_;
};

/// The coverage of each pixel by outlines; an area that they enclose once or more is covered.
/// Toolkits need a time quadratic in the width of a line of text, and pass the pixels to threads;
/// this class needs a time linear in the width.
class Coverage {
  public:
    /// The coverage of the pixels in `area`.
    explicit Coverage(const QRect& area);

    void add(const Outline& outline, QPointF offset);
    /// Draws over a picture, premultiplied or alpha only, whose top left is `position` and which
    /// contains the area.
    void draw(const SRGBColor& color, QImage& picture, QPoint position) const;

  private:
    void addLine(QPointF from, QPointF to);
    void addToRow(int y, double from, double to, double height);
    template <class Pixel, class Colors>
    void drawRows(const Colors& colors, QImage& picture, QPoint position) const;

    QRect area_;
    std::size_t stride_;
    /// The difference of each pixel's coverage to its left neighbour's.
    std::vector<float> changes_;
};

/// Draws `color` through an alpha-only picture over a premultiplied picture. Both positions are the
/// top left.
void drawThrough(const QImage& mask, QPoint maskPosition, const SRGBColor& color, QImage& picture,
                 QPoint picturePosition);

} // namespace zelvane
