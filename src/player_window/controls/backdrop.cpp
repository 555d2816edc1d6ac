// SPDX-License-Identifier: GPL-3.0-or-later
#include "player_window/controls/backdrop.h"

#include <algorithm>
#include <array>
#include <vector>

namespace zelvane {
namespace {

constexpr int kRadius = 2;
constexpr int kPasses = 2;

/// One line of pixels of an image, across or down.
struct Line {
    QRgb* first;
    std::ptrdiff_t step;
    int count;

    QRgb at(int index) const { return first[std::clamp(index, 0, count - 1) * step]; }
};

void blur(const Line& line, std::vector<QRgb>& buffer) {
    constexpr int kWidth = 2 * kRadius + 1;
    std::array<int, 3> sums{};
    const auto add = [&sums](QRgb pixel, int sign) {
        sums[0] += sign * qRed(pixel);
        sums[1] += sign * qGreen(pixel);
        sums[2] += sign * qBlue(pixel);
    };
    for (int index = -kRadius; index <= kRadius; ++index) {
        add(line.at(index), 1);
    }
    for (int index = 0; index < line.count; ++index) {
        buffer[static_cast<std::size_t>(index)] =
            qRgb(sums[0] / kWidth, sums[1] / kWidth, sums[2] / kWidth);
        add(line.at(index - kRadius), -1);
        add(line.at(index + kRadius + 1), 1);
    }
    for (int index = 0; index < line.count; ++index) {
        line.first[index * line.step] = buffer[static_cast<std::size_t>(index)];
    }
}

void blur(QImage& image) {
    std::vector<QRgb> buffer(static_cast<std::size_t>(std::max(image.width(), image.height())));
    auto* pixels = reinterpret_cast<QRgb*>(image.bits());
    const auto stride = image.bytesPerLine() / static_cast<qsizetype>(sizeof(QRgb));
    for (int pass = 0; pass < kPasses; ++pass) {
        for (int y = 0; y < image.height(); ++y) {
            blur({pixels + y * stride, 1, image.width()}, buffer);
        }
        for (int x = 0; x < image.width(); ++x) {
            blur({pixels + x, stride, image.height()}, buffer);
        }
    }
}

QRgb meanOf(const QImage& image, const QRect& square) {
    std::array<int, 3> sums{};
    for (int row = square.top(); row <= square.bottom(); ++row) {
        const auto* const line =
            reinterpret_cast<const QRgb*>(image.constScanLine(std::min(row, image.height() - 1)));
        for (int column = square.left(); column <= square.right(); ++column) {
            const QRgb pixel = line[std::min(column, image.width() - 1)];
            sums[0] += qRed(pixel);
            sums[1] += qGreen(pixel);
            sums[2] += qBlue(pixel);
        }
    }
    const int count = square.width() * square.height();
    return qRgb(sums[0] / count, sums[1] / count, sums[2] / count);
}

/// Each pixel is the mean of a square of `side` pixels. An incomplete square at the right or lower
/// edge repeats its last pixels.
QImage reduced(const QImage& image, int side) {
    QImage result((image.width() + side - 1) / side, (image.height() + side - 1) / side,
                  QImage::Format_RGB32);
    // QImage::scaled() wakes threads for each picture, which takes longer than the loop.
    for (int y = 0; y < result.height(); ++y) {
        auto* const line = reinterpret_cast<QRgb*>(result.scanLine(y));
        for (int x = 0; x < result.width(); ++x) {
            line[x] = meanOf(image, {x * side, y * side, side, side});
        }
    }
    return result;
}

/// What `color` gives over `image`.
void tint(QImage& image, const QColor& color) {
    QPainter painter(&image);
    painter.fillRect(image.rect(), color);
}

} // namespace

QImage Backdrop::make(const PaintPicture& paintPicture, const QRect& panel, const QColor& color) {
    if (!paintPicture || panel.isEmpty()) {
        return {};
    }
    const QRect padded = panel.adjusted(-kReduction, -kReduction, kReduction, kReduction);
    // Half of the points are enough: finer details are averaged away.
    QImage image((padded.width() + 1) / 2, (padded.height() + 1) / 2, QImage::Format_RGB32);
    image.fill(Qt::black);
    QPainter painter(&image);
    painter.scale(0.5, 0.5);
    painter.translate(-padded.topLeft());
    if (!paintPicture(painter)) {
        return {};
    }
    painter.end();
    QImage result = reduced(image, kReduction / 2);
    blur(result);
    tint(result, color);
    return result;
}

} // namespace zelvane
