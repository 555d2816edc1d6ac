// SPDX-License-Identifier: GPL-3.0-or-later
#include "subtitles_view/outline_raster.h"

#include <cmath>
#include <numbers>

#include <gtest/gtest.h>

#include "subtitles_view/mask_blur.h"

namespace zelvane {
namespace {

constexpr SRGBColor kOpaque{0, 0, 0, 1};

Outline rectangle(double x, double y, double width, double height) {
    QPainterPath path;
    path.addRect(x, y, width, height);
    return Outline(path);
}

/// The coverage of each pixel by all outlines, from the pixel (0, 0).
QImage covered(QSize size, std::initializer_list<Outline> outlines, QPointF offset = {}) {
    QImage image(size, QImage::Format_Alpha8);
    image.fill(Qt::transparent);
    Coverage coverage(QRect(QPoint(), size));
    for (const Outline& outline : outlines) {
        coverage.add(outline, offset);
    }
    coverage.draw(kOpaque, image, {});
    return image;
}

int at(const QImage& image, int x, int y) {
    return image.constScanLine(y)[x];
}

double sum(const QImage& image) {
    double total = 0;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            total += at(image, x, y) / 255.0;
        }
    }
    return total;
}

TEST(Coverage, partlyCoveredPixelsAreProportional) {
    const QImage image = covered({6, 4}, {rectangle(1.25, 0.5, 3.25, 2)});
    const int rows[4][6] = {{0, 96, 128, 128, 64, 0},
                            {0, 191, 255, 255, 128, 0},
                            {0, 96, 128, 128, 64, 0},
                            {0, 0, 0, 0, 0, 0}};
    for (int y = 0; y < 4; ++y) {
        for (int x = 0; x < 6; ++x) {
            EXPECT_NEAR(at(image, x, y), rows[y][x], 1) << x << ", " << y;
        }
    }
}

TEST(Coverage, slantedAndCurvedSidesCoverTheirArea) {
    QPainterPath triangle;
    triangle.moveTo(1.3, 2.1);
    triangle.lineTo(28.7, 5.9);
    triangle.lineTo(9.2, 17.4);
    triangle.closeSubpath();
    EXPECT_NEAR(sum(covered({32, 20}, {Outline(triangle)})), std::abs(27.4 * 15.3 - 3.8 * 7.9) / 2,
                0.5);
    QPainterPath circle;
    circle.addEllipse(QPointF(20, 20), 15.5, 15.5);
    EXPECT_NEAR(sum(covered({40, 40}, {Outline(circle)})), std::numbers::pi * 15.5 * 15.5, 2);
}

TEST(Coverage, overlapsAreCoveredOnce) {
    const QImage image = covered({10, 3}, {rectangle(1, 0, 5, 3), rectangle(3.5, 0, 4, 3)});
    for (int x = 1; x < 7; ++x) {
        EXPECT_EQ(at(image, x, 1), 255) << x;
    }
    EXPECT_NEAR(at(image, 7, 1), 128, 1);
    EXPECT_EQ(at(image, 8, 1), 0);
}

TEST(Coverage, outlinesAreClippedToTheArea) {
    const Outline wide = rectangle(-1000, -1000, 1004.5, 3000);
    const QImage image = covered({8, 5}, {wide});
    for (int y = 0; y < 5; ++y) {
        EXPECT_EQ(at(image, 0, y), 255);
        EXPECT_EQ(at(image, 3, y), 255);
        EXPECT_NEAR(at(image, 4, y), 128, 1);
        EXPECT_EQ(at(image, 5, y), 0);
    }
    EXPECT_EQ(sum(covered({8, 5}, {wide}, {0, 5000})), 0);
    EXPECT_EQ(sum(covered({8, 5}, {wide}, {5000, 0})), 0);
}

TEST(Coverage, colorsAreDrawnOverThePicture) {
    QImage image(2, 1, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::blue);
    Coverage coverage(QRect(0, 0, 2, 1));
    coverage.add(rectangle(0, 0, 1.5, 1), {});
    coverage.draw({1, 0, 0, 0.5}, image, {});
    EXPECT_EQ(image.pixelColor(0, 0), QColor(128, 0, 127));
    EXPECT_NEAR(image.pixelColor(1, 0).red(), 64, 1);
    EXPECT_NEAR(image.pixelColor(1, 0).blue(), 191, 1);
    EXPECT_EQ(image.pixelColor(1, 0).alpha(), 255);
}

TEST(MaskBlur, aPointBecomesAGaussian) {
    for (const double deviation : {1.0, 2.0, 3.3, 8.0}) {
        const int reach = blurReach(deviation);
        const int side = 2 * reach + 1;
        QImage image(side, side, QImage::Format_Grayscale8);
        image.fill(0);
        // A point alone is lost in whole numbers.
        const int size = 2 * static_cast<int>(deviation) + 1;
        for (int y = 0; y < size; ++y) {
            for (int x = 0; x < size; ++x) {
                image.scanLine(reach - size / 2 + y)[reach - size / 2 + x] = 255;
            }
        }
        const double before = sum(image);
        blurMask({image.bits(), static_cast<std::size_t>(image.sizeInBytes())}, side, side,
                 static_cast<std::size_t>(image.bytesPerLine()), deviation);
        EXPECT_NEAR(sum(image) / before, 1, 0.04) << deviation;
        double moment = 0;
        for (int y = 0; y < side; ++y) {
            for (int x = 0; x < side; ++x) {
                moment += at(image, x, y) / 255.0 * (x - reach) * (x - reach);
            }
        }
        const double ofSquare = (size * size - 1) / 12.0;
        EXPECT_NEAR(std::sqrt(moment / sum(image) - ofSquare), deviation, 0.12 * deviation + 0.1);
        // It lies where the point was.
        EXPECT_EQ(at(image, reach - 1, reach), at(image, reach + 1, reach));
        EXPECT_GE(at(image, reach, reach), at(image, reach + 1, reach));
    }
}

TEST(MaskBlur, aBlurWiderThanThePictureLeavesItInBounds) {
    std::vector<std::uint8_t> pixels(7 * 3, 255);
    blurMask(pixels, 7, 3, 7, 200);
    for (const std::uint8_t pixel : pixels) {
        EXPECT_LT(pixel, 4);
    }
    blurMask({}, 0, 0, 0, 3);
}

TEST(MaskBlur, noDeviationIsNoBlur) {
    std::vector<std::uint8_t> pixels{0, 255, 0};
    blurMask(pixels, 3, 1, 3, 0);
    EXPECT_EQ(pixels, (std::vector<std::uint8_t>{0, 255, 0}));
    EXPECT_EQ(blurReach(0), 0);
}

} // namespace
} // namespace zelvane
