// SPDX-License-Identifier: GPL-3.0-or-later
#include "player_window/controls/backdrop.h"

#include <algorithm>
#include <array>
#include <cstdint>
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

/// The side of the squares of the picture at half its size that become one pixel each.
constexpr int kSide = Backdrop::kReduction / 2;

QRgb meanOf(const std::array<const QRgb*, kSide>& rows, int left) {
    // Two channels at once: 256 values of 8 bits fit into 16.
    static_assert(kSide * kSide <= 256);
    std::uint32_t redAndBlue = 0;
    std::uint32_t green = 0;
    for (const QRgb* row : rows) {
        for (int column = left; column < left + kSide; ++column) {
            redAndBlue += row[column] & 0xFF00FF;
            green += (row[column] >> 8) & 0xFF;
        }
    }
    constexpr std::uint32_t kCount = kSide * kSide;
    return qRgb(static_cast<int>((redAndBlue >> 16) / kCount), static_cast<int>(green / kCount),
                static_cast<int>((redAndBlue & 0xFFFF) / kCount));
}

/// Each pixel is the mean of a square. The sides of the image are multiples of that of the squares.
QImage reduced(const QImage& image) {
    QImage result(image.width() / kSide, image.height() / kSide, QImage::Format_RGB32);
    // QImage::scaled() wakes threads for each picture, which takes longer than the loop.
    for (int y = 0; y < result.height(); ++y) {
        std::array<const QRgb*, kSide> rows{};
        for (int row = 0; row < kSide; ++row) {
            rows[static_cast<std::size_t>(row)] =
                reinterpret_cast<const QRgb*>(image.constScanLine(y * kSide + row));
        }
        auto* const line = reinterpret_cast<QRgb*>(result.scanLine(y));
        for (int x = 0; x < result.width(); ++x) {
            line[x] = meanOf(rows, x * kSide);
        }
    }
    return result;
}

/// How many squares cover that many points.
int squaresOver(int points) {
    return (points + Backdrop::kReduction - 1) / Backdrop::kReduction;
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
    QImage image(squaresOver(padded.width()) * kSide, squaresOver(padded.height()) * kSide,
                 QImage::Format_RGB32);
    image.fill(Qt::black);
    QPainter painter(&image);
    painter.scale(0.5, 0.5);
    painter.translate(-padded.topLeft());
    if (!paintPicture(painter)) {
        return {};
    }
    painter.end();
    QImage result = reduced(image);
    blur(result);
    tint(result, color);
    return result;
}

} // namespace zelvane
