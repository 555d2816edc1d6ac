// SPDX-License-Identifier: GPL-3.0-or-later
#include "player_window/picture_layout.h"

#include <gtest/gtest.h>

namespace zelvane {
namespace {

constexpr CGAffineTransform kTurnedRight{0, 1, -1, 0, 0, 0};
constexpr CGAffineTransform kUpsideDown{-1, 0, 0, -1, 0, 0};
constexpr CGAffineTransform kTurnedLeft{0, -1, 1, 0, 0, 0};
constexpr CGAffineTransform kMirrored{-1, 0, 0, 1, 0, 0};
constexpr CGAffineTransform kFlipped{1, 0, 0, -1, 0, 0};

CGRect placeOf(double width, double height, const CGAffineTransform& transform, CGSize surface) {
    return layOutPicture({0, 0, width, height}, transform, surface).target;
}

TEST(PictureLayout, keepsTheAspectRatioAndCentres) {
    const CGAffineTransform upright;
    EXPECT_EQ(placeOf(640, 360, upright, {640, 360}), (CGRect{0, 0, 640, 360}));
    EXPECT_EQ(placeOf(640, 360, upright, {640, 480}), (CGRect{0, 60, 640, 360}));
    EXPECT_EQ(placeOf(640, 360, upright, {1000, 360}), (CGRect{180, 0, 640, 360}));
    EXPECT_EQ(placeOf(640, 360, upright, {1280, 800}), (CGRect{0, 40, 1280, 720}));
    EXPECT_EQ(placeOf(640, 360, kTurnedRight, {640, 640}), (CGRect{140, 0, 360, 640}));
}

TEST(PictureLayout, roundsUpWithinTheSurface) {
    const CGAffineTransform upright;
    EXPECT_EQ(placeOf(1920, 1080, upright, {1000, 700}), (CGRect{0, 68, 1000, 563}));
    EXPECT_EQ(placeOf(3, 1, upright, {100, 33}), (CGRect{0, 0, 99, 33}));
    EXPECT_EQ(placeOf(1000, 1, upright, {100, 50}), (CGRect{0, 24, 100, 1}));
}

TEST(PictureLayout, anEmptyPictureOrSurfaceHasAnEmptyPlace) {
    const CGAffineTransform upright;
    EXPECT_EQ(placeOf(0, 0, upright, {100, 100}), CGRect{});
    EXPECT_EQ(placeOf(10, 10, upright, {0, 100}), CGRect{});
    EXPECT_EQ(placeOf(10, 10, {0, 0, 0, 0, 0, 0}, {100, 100}), CGRect{});
}

TEST(PictureLayout, mapsThePicturesCorners) {
    const auto cornerAt = [](const CGAffineTransform& transform, double x, double y) {
        const auto map = layOutPicture({0, 0, 40, 20}, transform, {100, 100}).pictureToSurface;
        return CGSize{map.a * x + map.c * y + map.tx, map.b * x + map.d * y + map.ty};
    };
    EXPECT_EQ(cornerAt({}, 0, 0), (CGSize{0, 25}));
    EXPECT_EQ(cornerAt({}, 1, 1), (CGSize{100, 75}));
    EXPECT_EQ(cornerAt(kTurnedRight, 0, 0), (CGSize{75, 0}));
    EXPECT_EQ(cornerAt(kTurnedRight, 1, 0), (CGSize{75, 100}));
    EXPECT_EQ(cornerAt(kMirrored, 0, 0), (CGSize{100, 25}));
    EXPECT_EQ(cornerAt(kFlipped, 0, 0), (CGSize{0, 75}));
}

TEST(PictureLayout, orientationIsMirroredFirstAndThenTurned) {
    EXPECT_EQ(pictureOrientation({}), (PictureOrientation{0, false}));
    EXPECT_EQ(pictureOrientation(kTurnedRight), (PictureOrientation{1, false}));
    EXPECT_EQ(pictureOrientation(kUpsideDown), (PictureOrientation{2, false}));
    EXPECT_EQ(pictureOrientation(kTurnedLeft), (PictureOrientation{3, false}));
    EXPECT_EQ(pictureOrientation(kMirrored), (PictureOrientation{0, true}));
    EXPECT_EQ(pictureOrientation(kFlipped), (PictureOrientation{2, true}));
    EXPECT_EQ(pictureOrientation({0.99, 0.02, -0.02, 0.99, 5, 5}), (PictureOrientation{0, false}));
}

} // namespace
} // namespace zelvane
