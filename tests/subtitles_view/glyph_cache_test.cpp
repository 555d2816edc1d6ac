// SPDX-License-Identifier: GPL-3.0-or-later
#include "subtitles_view/glyph_cache.h"

#include <cmath>

#include <gtest/gtest.h>

#include <QFont>

namespace zelvane {
namespace {

constexpr int kPixelSize = 960;

QRawFont font(bool isBold = false) {
    QFont result;
    result.setFamilies({"DejaVu Sans"});
    result.setPixelSize(kPixelSize);
    result.setBold(isBold);
    result.setHintingPreference(QFont::PreferNoHinting);
    return QRawFont::fromFont(result);
}

std::shared_ptr<const DrawnGlyph> glyph(QChar letter, const GlyphLook& look,
                                        const QRawFont& from = font()) {
    return GlyphCache::shared().glyph(from, from.glyphIndexesForString(letter).front(), look);
}

TEST(GlyphCache, aFaceThatIsNotBoldHasItsLettersMadeThicker) {
    const double pen = kPixelSize / 24.0;
    for (const QChar letter : {QChar('l'), QChar('O')}) {
        const QRectF plain = glyph(letter, {false, 1, 0})->bounds();
        const QRectF bold = glyph(letter, {true, 1, 0})->bounds();
        EXPECT_NEAR(bold.width(), plain.width() + pen, 2);
        EXPECT_NEAR(bold.height(), plain.height() + pen, 2);
    }
    // A bold face is not changed.
    EXPECT_EQ(glyph('l', {true, 1, 0}, font(true))->bounds(),
              glyph('l', {false, 1, 0}, font(true))->bounds());
}

TEST(GlyphCache, lettersAndPensAreInTheSizeOfThePicture) {
    const QRectF whole = glyph('H', {false, 1, 0})->bounds();
    const QRectF tenth = glyph('H', {false, 0.1, 0})->bounds();
    EXPECT_NEAR(tenth.width(), whole.width() / 10, 1e-6);
    const QRectF stroked = glyph('H', {false, 0.1, 8})->bounds();
    EXPECT_NEAR(stroked.width(), tenth.width() + 8, 0.1);
    EXPECT_NEAR(stroked.height(), tenth.height() + 8, 0.1);
}

TEST(GlyphCache, theBodyKeepsTheHolesOfTheLetter) {
    const auto shape = glyph('O', {false, 0.1, 8});
    ASSERT_TRUE(shape->hasBody());
    double area = 0;
    const auto add = [](double& sum) {
        return [&sum](QPointF from, QPointF to) {
            sum += (from.x() * to.y() - to.x() * from.y()) / 2;
        };
    };
    shape->body.forEachLine(add(area));
    const QRectF bounds = shape->body.bounds();
    EXPECT_EQ(bounds, shape->stroke.bounds());
    // More than the pen's two rings, less than all within the outer edge.
    EXPECT_GT(std::abs(area), 0.3 * bounds.width() * bounds.height());
    EXPECT_LT(std::abs(area), 0.7 * bounds.width() * bounds.height());
    EXPECT_LT(shape->body.pointCount(), 0.6 * static_cast<double>(shape->stroke.pointCount()));
}

TEST(GlyphCache, lettersAreCached) {
    EXPECT_EQ(glyph('H', {false, 0.5, 3}), glyph('H', {false, 0.5, 3}));
    EXPECT_NE(glyph('H', {false, 0.5, 3}), glyph('H', {false, 0.5, 4}));
    // After eviction, letters are drawn again correctly.
    for (int i = 0; i < 1500; ++i) {
        glyph('O', {false, 0.1 + i * 0.001, 2});
    }
    EXPECT_NEAR(glyph('H', {false, 1, 0})->bounds().height(), kPixelSize * 1493.0 / 2048, 1);
}

} // namespace
} // namespace zelvane
