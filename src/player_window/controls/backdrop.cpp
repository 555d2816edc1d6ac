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

} // namespace

QImage Backdrop::make(const PaintPicture& paintPicture, const QRect& panel,
                      double devicePixelRatio) {
    if (!paintPicture || panel.isEmpty()) {
        return {};
    }
    const QRect padded = panel.adjusted(-kReduction, -kReduction, kReduction, kReduction);
    // Half a point is enough: what is finer is averaged away.
    const double scale = std::min(devicePixelRatio, 1.0) / 2;
    QImage image((QSizeF(padded.size()) * scale).toSize(), QImage::Format_RGB32);
    image.fill(Qt::black);
    QPainter painter(&image);
    painter.scale(scale, scale);
    painter.translate(-padded.topLeft());
    if (!paintPicture(painter)) {
        return {};
    }
    painter.end();
    const QSize small((padded.width() + kReduction - 1) / kReduction,
                      (padded.height() + kReduction - 1) / kReduction);
    QImage reduced = image.scaled(small, Qt::IgnoreAspectRatio, Qt::SmoothTransformation)
                         .convertToFormat(QImage::Format_RGB32);
    blur(reduced);
    return reduced;
}

} // namespace zelvane
