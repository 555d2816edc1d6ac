// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <algorithm>
#include <functional>

#include <QColor>
#include <QImage>
#include <QPainter>

#include "subtitles_view/subtitle_view.h"

namespace zelvane::test {

/// The view painted over one colour, in 32 bits a pixel.
inline QImage pictureOf(SubtitleView& view, QSizeF size, QColor ground = Qt::black,
                        qreal devicePixelRatio = 1) {
    view.setSize(size, devicePixelRatio);
    QImage image((size * devicePixelRatio).toSize(), QImage::Format_RGB32);
    image.setDevicePixelRatio(devicePixelRatio);
    image.fill(ground);
    QPainter painter(&image);
    view.paint(painter);
    return image;
}

using ColorTest = std::function<bool(QColor)>;

inline bool isLight(QColor color) {
    return std::min({color.red(), color.green(), color.blue()}) >= 128;
}
inline bool isRed(QColor color) {
    return color.red() >= 128 && color.green() < 128 && color.blue() < 128;
}
inline bool isGreen(QColor color) {
    return color.green() >= 128 && color.red() < 128 && color.blue() < 128;
}
inline bool isBlue(QColor color) {
    return color.blue() >= 128 && color.green() < 128 && color.red() < 128;
}

/// The smallest rectangle around all pixels that pass, and their number.
struct Ink {
    QRect bounds;
    int count = 0;

    int left() const { return bounds.x(); }
    int top() const { return bounds.y(); }
    /// Behind the last pixel.
    int right() const { return bounds.x() + bounds.width(); }
    int bottom() const { return bounds.y() + bounds.height(); }
};

/// Calls `found(x, y, pixel)` for all pixels that pass.
template <class Found>
void forEachPixel(const QImage& image, const ColorTest& passes, const QRect& within,
                  Found&& found) {
    QRgb last = 0;
    bool lastPasses = passes(QColor(last));
    for (int y = within.top(); y <= within.bottom(); ++y) {
        const auto* row = reinterpret_cast<const QRgb*>(image.constScanLine(y));
        for (int x = within.left(); x <= within.right(); ++x) {
            // Most pixels are like their neighbour.
            if (row[x] != last) {
                last = row[x];
                lastPasses = passes(QColor(last));
            }
            if (lastPasses) {
                found(x, y, last);
            }
        }
    }
}

inline Ink inkOf(const QImage& image, const ColorTest& passes, const QRect& within) {
    Ink ink;
    forEachPixel(image, passes, within, [&](int x, int y, QRgb) {
        ink.bounds |= QRect(x, y, 1, 1);
        ++ink.count;
    });
    return ink;
}

inline Ink inkOf(const QImage& image, const ColorTest& passes) {
    return inkOf(image, passes, image.rect());
}

} // namespace zelvane::test
