// SPDX-License-Identifier: GPL-3.0-or-later
#include "subtitles_view/outline_raster.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "subtitles_view/subtitle_colors.h"

namespace zelvane {
namespace {

/// The largest distance of a line from its curve, in pixels: a fortieth of the difference of black
/// and white.
constexpr double kFlatness = 0.025;
constexpr int kMaximumLinesOfCurve = 64;

double length(QPointF vector) {
    return std::hypot(vector.x(), vector.y());
}

/// Uses the second differences of the control points, which bound the distance from the curve.
int linesOfCurve(QPointF p0, QPointF p1, QPointF p2, QPointF p3) {
    const double bend = std::max(length(p0 - 2 * p1 + p2), length(p1 - 2 * p2 + p3));
    const double lines = std::ceil(std::sqrt(0.75 * bend / kFlatness));
    return lines > 1 ? static_cast<int>(std::min<double>(lines, kMaximumLinesOfCurve)) : 1;
}

QRgb sourceOver(QRgb over, QRgb under) {
    const unsigned rest = 255 - static_cast<unsigned>(qAlpha(over));
    if (rest == 0 || under == 0) {
        return over;
    }
    const auto channels = [&](unsigned shift) {
        // Two channels at once, each divided by 255 with rounding.
        constexpr unsigned kChannels = 0x00ff00ffU;
        unsigned product = ((under >> shift) & kChannels) * rest;
        product = (product + ((product >> 8) & kChannels) + 0x00800080U) >> 8;
        return (product & kChannels) << shift;
    };
    return over + channels(0) + channels(8);
}

uchar sourceOver(uchar over, uchar under) {
    return static_cast<uchar>(over + (under * (255 - over) + 127) / 255);
}

/// A colour at each level of coverage.
std::array<QRgb, 256> colorsByCoverage(const SRGBColor& color) {
    std::array<QRgb, 256> colors{};
    for (std::size_t i = 0; i < colors.size(); ++i) {
        colors[i] = premultiplied(color, static_cast<double>(i) / 255);
    }
    return colors;
}

std::array<uchar, 256> alphasByCoverage(const SRGBColor& color) {
    std::array<uchar, 256> alphas{};
    for (std::size_t i = 0; i < alphas.size(); ++i) {
        alphas[i] = static_cast<uchar>(qAlpha(premultiplied(color, static_cast<double>(i) / 255)));
    }
    return alphas;
}

} // namespace

Outline::Outline(const QPainterPath& path) {
    for (int i = 0; i < path.elementCount(); ++i) {
        const QPainterPath::Element element = path.elementAt(i);
        if (element.isCurveTo() && i + 2 < path.elementCount()) {
            addCurve(element, path.elementAt(i + 1), path.elementAt(i + 2));
            i += 2;
            continue;
        }
        if (element.isMoveTo()) {
            endContour();
        }
        points_.push_back(element);
    }
    endContour();
    bounds_ = path.controlPointRect();
}

void Outline::addCurve(QPointF control1, QPointF control2, QPointF end) {
    const QPointF start = points_.empty() ? control1 : points_.back();
    const int count = linesOfCurve(start, control1, control2, end);
    for (int i = 1; i <= count; ++i) {
        const double t = static_cast<double>(i) / count;
        const double s = 1 - t;
        points_.push_back(s * s * s * start + 3 * s * s * t * control1 + 3 * s * t * t * control2 +
                          t * t * t * end);
    }
}

void Outline::endContour() {
    const std::size_t start = contourEnds_.empty() ? 0 : contourEnds_.back();
    if (points_.size() > start) {
        contourEnds_.push_back(points_.size());
    }
}

Coverage::Coverage(const QRect& area)
    : area_(area),
      // Parts to the right of the area go into the columns after it.
      stride_(static_cast<std::size_t>(area.width()) + 2),
      changes_(stride_ * static_cast<std::size_t>(area.height())) {}

void Coverage::add(const Outline& outline, QPointF offset) {
    const QPointF toArea = offset - area_.topLeft();
    const QRectF reach = outline.bounds().translated(toArea);
    if (outline.isEmpty() ||
        !(reach.left() < area_.width() && reach.top() < area_.height() && reach.bottom() > 0)) {
        return;
    }
    outline.forEachLine([&](QPointF from, QPointF to) { addLine(from + toArea, to + toArea); });
}

void Coverage::addLine(QPointF from, QPointF to) {
    const bool isDownward = from.y() < to.y();
    if (!isDownward) {
        std::swap(from, to);
    }
    const double top = std::max(from.y(), 0.0);
    const double bottom = std::min<double>(to.y(), area_.height());
    if (!(top < bottom)) {
        return;
    }
    const double sign = isDownward ? 1 : -1;
    auto row = static_cast<int>(top);
    // The case of most lines of curves.
    if (top == from.y() && bottom == to.y() && bottom <= row + 1) {
        addToRow(row, from.x(), to.x(), sign * (bottom - top));
        return;
    }
    const double slope = (to.x() - from.x()) / (to.y() - from.y());
    double x = from.x() + (top - from.y()) * slope;
    for (double y = top; y < bottom; ++row) {
        const double nextY = std::min<double>(row + 1, bottom);
        const double nextX = from.x() + (nextY - from.y()) * slope;
        addToRow(row, x, nextX, sign * (nextY - y));
        x = nextX;
        y = nextY;
    }
}

/// A line that crosses a part of a row covers everything to its right. In the pixels that it
/// crosses, it covers the trapezoid or triangle to its right.
void Coverage::addToRow(int y, double from, double to, double height) {
    const double width = area_.width();
    const double left = std::clamp(std::min(from, to), 0.0, width);
    const double right = std::clamp(std::max(from, to), 0.0, width);
    float* row = changes_.data() + static_cast<std::size_t>(y) * stride_;
    const int first = static_cast<int>(left);
    if (right <= first + 1) {
        const double uncovered = (left + right) / 2 - first;
        row[first] += static_cast<float>(height * (1 - uncovered));
        row[first + 1] += static_cast<float>(height * uncovered);
        return;
    }
    int last = static_cast<int>(right);
    last = last == right ? last - 1 : last;
    // The part of the height that the line passes within one pixel's width.
    const double step = 1 / (right - left);
    const double inFirst = first + 1 - left;
    double before = step * inFirst * inFirst / 2;
    row[first] += static_cast<float>(height * before);
    for (int i = first + 1; i < last; ++i) {
        const double covered = step * (i + 0.5 - left);
        row[i] += static_cast<float>(height * (covered - before));
        before = covered;
    }
    const double inLast = right - last;
    const double covered = 1 - step * inLast * inLast / 2;
    row[last] += static_cast<float>(height * (covered - before));
    row[last + 1] += static_cast<float>(height * (1 - covered));
}

void Coverage::draw(const SRGBColor& color, QImage& picture, QPoint position) const {
    if (picture.format() == QImage::Format_Alpha8) {
        drawRows<uchar>(alphasByCoverage(color), picture, position);
    } else {
        drawRows<QRgb>(colorsByCoverage(color), picture, position);
    }
}

template <class Pixel, class Colors>
void Coverage::drawRows(const Colors& colors, QImage& picture, QPoint position) const {
    const QPoint offset = area_.topLeft() - position;
    for (int y = 0; y < area_.height(); ++y) {
        const float* changes = changes_.data() + static_cast<std::size_t>(y) * stride_;
        auto* pixels = reinterpret_cast<Pixel*>(picture.scanLine(y + offset.y())) + offset.x();
        float sum = 0;
        Pixel color = colors[0];
        for (int x = 0; x < area_.width(); ++x) {
            // Most pixels have the coverage of their neighbour.
            if (changes[x] != 0) {
                sum += changes[x];
                // Correct for values that are not negative, and many times faster than the
                // library's rounding.
                const float code = std::min(std::abs(sum), 1.0F) * 255;
                color = colors[static_cast<std::size_t>(
                    static_cast<int>(code + 0.5F))]; // NOLINT(bugprone-incorrect-roundings)
            }
            if (color != 0) {
                pixels[x] = sourceOver(color, pixels[x]);
            }
        }
    }
}

void drawThrough(const QImage& mask, QPoint maskPosition, const SRGBColor& color, QImage& picture,
                 QPoint picturePosition) {
    const auto colors = colorsByCoverage(color);
    const QRect both = QRect(maskPosition, mask.size()) & QRect(picturePosition, picture.size());
    for (int y = both.top(); y <= both.bottom(); ++y) {
        const uchar* coverage =
            mask.constScanLine(y - maskPosition.y()) + (both.left() - maskPosition.x());
        auto* pixels = reinterpret_cast<QRgb*>(picture.scanLine(y - picturePosition.y())) +
                       (both.left() - picturePosition.x());
        for (int x = 0; x < both.width(); ++x) {
            if (coverage[x] != 0) {
                pixels[x] = sourceOver(colors[coverage[x]], pixels[x]);
            }
        }
    }
}

} // namespace zelvane
