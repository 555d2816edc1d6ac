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
    /// Curves become lines that nobody can tell from them.
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
    /// For each contour the index behind its last point.
    std::vector<std::size_t> contourEnds_;
    QRectF bounds_;
};

/// How much of each pixel outlines cover, where what they enclose once or more counts as covered.
/// Toolkits take a time that grows with the square of the width of a line of text, and hand the
/// pixels to threads; here it grows with the width.
class Coverage {
  public:
    /// Of the pixels in `area`.
    explicit Coverage(const QRect& area);

    void add(const Outline& outline, QPointF offset);
    /// Draws over a picture, premultiplied or of nothing but alpha, whose top left is `position`
    /// and which holds the area.
    void draw(const SRGBColor& color, QImage& picture, QPoint position) const;

  private:
    void addLine(QPointF from, QPointF to);
    void addToRow(int y, double from, double to, double height);
    template <class Pixel, class Colors>
    void drawRows(const Colors& colors, QImage& picture, QPoint position) const;

    QRect area_;
    std::size_t stride_;
    /// What each pixel's coverage is more than its left neighbour's.
    std::vector<float> changes_;
};

/// Draws `color` through a picture of nothing but alpha over a premultiplied picture. Both
/// positions are the top left.
void drawThrough(const QImage& mask, QPoint maskPosition, const SRGBColor& color, QImage& picture,
                 QPoint picturePosition);

} // namespace zelvane
