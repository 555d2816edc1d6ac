// SPDX-License-Identifier: GPL-3.0-or-later
#include "subtitles_view/image_subtitle_view.h"
#include "tests/support/case_name.h"

#include <cmath>
#include <limits>

#include <gtest/gtest.h>

#include <QImage>
#include <QPainter>

namespace zelvane {
namespace {

constexpr bool kPrimary = true;
constexpr bool kSecondary = false;

TEST(ImageSubtitlePlacement, isOnThePictureAndMirroredInTheSecondaryPosition) {
    constexpr CGSize kFullHD{1920, 1080};
    constexpr CGSize kHalf{960, 540};
    constexpr CGRect kBottom{400, 950, 1100, 100};
    const struct {
        const char* name;
        CGRect imageFrame;
        std::optional<CGSize> video;
        CGSize view;
        bool isPrimary;
        CGRect place;
    } cases[] = {
        {"bottom", kBottom, kFullHD, kHalf, kPrimary, {200, 475, 550, 50}},
        {"bottom to top", kBottom, kFullHD, kHalf, kSecondary, {200, 15, 550, 50}},
        {"top to bottom", {400, 30, 1100, 100}, kFullHD, kHalf, kSecondary, {200, 475, 550, 50}},
        {"middle across", {400, 500, 1100, 100}, kFullHD, kHalf, kSecondary, {210, 240, 550, 50}},
        {"above the middle",
         {0, 440, 100, 100},
         kFullHD,
         kFullHD,
         kSecondary,
         {1820, 540, 100, 100}},
        {"below the middle", {0, 540, 100, 100}, kFullHD, kFullHD, kSecondary, {0, 440, 100, 100}},
        {"letterbox", kBottom, kFullHD, {960, 740}, kPrimary, {200, 575, 550, 50}},
        {"mirrored letterbox", kBottom, kFullHD, {960, 740}, kSecondary, {200, 115, 550, 50}},
        {"pillarbox", {0, 0, 1920, 1080}, kFullHD, {1160, 540}, kPrimary, {100, 0, 960, 540}},
        {"unknown picture", {40, 50, 110, 10}, {}, kHalf, kPrimary, {40, 50, 110, 10}},
        {"unknown, mirrored", {40, 500, 110, 10}, {}, kHalf, kSecondary, {40, 30, 110, 10}},
        {"no height", {40, 50, 110, 10}, CGSize{100, 100}, {100, 0}, kPrimary, {40, 0, 110, 10}},
    };
    for (const auto& given : cases) {
        const CGRect place =
            placeImageSubtitle({given.imageFrame, given.video, given.isPrimary}, given.view);
        EXPECT_DOUBLE_EQ(place.x, given.place.x) << given.name;
        EXPECT_DOUBLE_EQ(place.y, given.place.y) << given.name;
        EXPECT_DOUBLE_EQ(place.width, given.place.width) << given.name;
        EXPECT_DOUBLE_EQ(place.height, given.place.height) << given.name;
    }
}

TEST(WholeDevicePixels, edgesAreRoundedAndNothingVanishes) {
    const struct {
        CGRect rect;
        double ratio;
        QRect pixels;
    } cases[] = {
        {{10, 20, 30, 40}, 1, {10, 20, 30, 40}},
        {{10.4, 20.6, 30.2, 40}, 1, {10, 21, 31, 40}},
        {{10.25, 20.25, 30.5, 0.1}, 2, {21, 41, 61, 1}},
        {{0, 0, 0, 10}, 1, {}},
        {{0, 0, 1e30, 10}, 1, {}},
        {{std::numeric_limits<double>::quiet_NaN(), 0, 10, 10}, 1, {}},
    };
    for (const auto& given : cases) {
        EXPECT_EQ(wholeDevicePixels(given.rect, given.ratio), given.pixels)
            << given.rect.x << " " << given.rect.width;
    }
}

/// A picture of BGRA, not premultiplied, each pixel as `color` says.
template <class Color>
ImageSubtitle pictureOf(QSize size, const CGRect& frame, std::optional<VideoDimensions> dimensions,
                        Color color) {
    auto image = std::make_shared<QImage>(size, QImage::Format_ARGB32);
    for (int y = 0; y < size.height(); ++y) {
        for (int x = 0; x < size.width(); ++x) {
            image->setPixel(x, y, color(x, y));
        }
    }
    CVPixelBuffer::Geometry geometry{kCVPixelFormatType_32BGRA, size.width(), size.height(), 1, {}};
    geometry.planes[0] = {image->bits(), static_cast<std::size_t>(image->bytesPerLine()),
                          size.width(), size.height()};
    return {CVPixelBuffer::overMemory(geometry, image), frame, dimensions};
}

/// The view painted on `ground`, as a screen with that ratio would show it.
QImage painted(ImageSubtitleView& view, QSize size, double ratio, QRgb ground) {
    QImage screen(size * ratio, QImage::Format_RGB32);
    screen.fill(ground);
    screen.setDevicePixelRatio(ratio);
    view.setSize(size, ratio);
    QPainter painter(&screen);
    view.paint(painter);
    return screen;
}

const VideoDimensions kSmallVideo(40, 20, std::nullopt, 1);

TEST(ImageSubtitleView, atItsOwnSizeEachPixelIsCopiedWithItsAlpha) {
    ImageSubtitleView view(pictureOf(QSize(2, 1), {10, 5, 2, 1}, kSmallVideo,
                                     [](int x, int) { return x == 0 ? 0xffff0000U : 0x80ffffffU; }),
                           kPrimary, std::nullopt);
    const QImage screen = painted(view, QSize(40, 20), 1, 0xff000000);
    EXPECT_EQ(view.paintedRect(), QRectF(10, 5, 2, 1));
    EXPECT_EQ(screen.pixel(10, 5), 0xffff0000);
    EXPECT_NEAR(qRed(screen.pixel(11, 5)), 0x80, 1);
    EXPECT_EQ(screen.pixel(12, 5), 0xff000000);
    EXPECT_EQ(screen.pixel(10, 6), 0xff000000);
}

/// A white field is surrounded by transparent green, as in palettes.
TEST(ImageSubtitleView, transparentPixelsHaveNoColourAtAnyScale) {
    for (const double scale : {0.5, 1.0, 1.5, 3.0}) {
        ImageSubtitleView view(pictureOf(QSize(20, 10), {10, 5, 20, 10}, kSmallVideo,
                                         [](int x, int y) {
                                             const bool isField =
                                                 x >= 5 && x < 15 && y >= 3 && y < 7;
                                             return isField ? 0xffffffffU : 0x0000ff00U;
                                         }),
                               kPrimary, std::nullopt);
        const QImage screen = painted(view, QSize(40, 20) * scale, 1, 0xff000000);
        int lit = 0;
        for (int y = 0; y < screen.height(); ++y) {
            for (int x = 0; x < screen.width(); ++x) {
                const QRgb pixel = screen.pixel(x, y);
                EXPECT_NEAR(qGreen(pixel), qRed(pixel), 1) << x << "," << y << " at " << scale;
                lit += qRed(pixel) > 127 ? 1 : 0;
            }
        }
        EXPECT_NEAR(lit, 40 * scale * scale, 14 * scale) << scale;
    }
}

TEST(ImageSubtitleView, aSharpScreenShowsItInAllItsPixels) {
    // Two pixels of the bitmap for each unit of the view.
    ImageSubtitleView view(
        pictureOf(QSize(8, 8), {40, 40, 8, 8}, VideoDimensions(80, 80, {}, 1),
                  [](int x, int y) { return (x + y) % 2 == 0 ? 0xffffffffU : 0xff000000U; }),
        kPrimary, std::nullopt);
    const QImage screen = painted(view, QSize(40, 40), 2, 0xff808080);
    EXPECT_EQ(view.paintedRect(), QRectF(20, 20, 4, 4));
    EXPECT_EQ(screen.pixel(40, 40), 0xffffffff);
    EXPECT_EQ(screen.pixel(41, 40), 0xff000000);
    EXPECT_EQ(screen.pixel(47, 47), 0xffffffff);
    EXPECT_EQ(screen.pixel(39, 39), 0xff808080);
}

TEST(ImageSubtitleView, itsOwnDimensionsPrecedeThoseOfTheVideo) {
    const VideoDimensions underneath(400, 200, std::nullopt, 1);
    const auto white = [](int, int) { return 0xffffffffU; };
    ImageSubtitleView own(pictureOf(QSize(4, 4), {0, 0, 4, 4}, kSmallVideo, white), kPrimary,
                          underneath);
    ImageSubtitleView theirs(pictureOf(QSize(4, 4), {0, 0, 4, 4}, std::nullopt, white), kPrimary,
                             underneath);
    ImageSubtitleView none(pictureOf(QSize(4, 4), {0, 0, 4, 4}, std::nullopt, white), kPrimary,
                           std::nullopt);
    for (auto* view : {&own, &theirs, &none}) {
        view->setSize(QSizeF(800, 400), 1);
    }
    EXPECT_EQ(own.paintedRect(), QRectF(0, 0, 80, 80));
    EXPECT_EQ(theirs.paintedRect(), QRectF(0, 0, 8, 8));
    EXPECT_EQ(none.paintedRect(), QRectF(0, 0, 4, 4));
}

TEST(ImageSubtitleView, partsOutsideTheViewAreClippedAndTakeNoMemory) {
    const VideoDimensions tiny(1, 1, std::nullopt, 1);
    const auto white = [](int, int) { return 0xffffffffU; };
    // Scaled up a thousand times.
    ImageSubtitleView huge(pictureOf(QSize(200, 200), {-100, -100, 200, 200}, tiny, white),
                           kPrimary, std::nullopt);
    const QImage screen = painted(huge, QSize(1000, 1000), 1, 0xff000000);
    EXPECT_EQ(huge.paintedRect(), QRectF(0, 0, 1000, 1000));
    EXPECT_EQ(screen.pixel(999, 999), 0xffffffff);
    ImageSubtitleView outside(pictureOf(QSize(2, 2), {50, 0, 2, 2}, kSmallVideo, white), kPrimary,
                              std::nullopt);
    outside.setSize(QSizeF(40, 20), 1);
    EXPECT_TRUE(outside.paintedRect().isEmpty());
}

} // namespace
} // namespace zelvane
