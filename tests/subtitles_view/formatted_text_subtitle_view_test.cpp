// SPDX-License-Identifier: GPL-3.0-or-later
//
// Measures the ink of subtitles in the packaged font, whose letters' sizes are known.

#include "subtitles_view/formatted_text_subtitle_view.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <functional>
#include <limits>

#include <gtest/gtest.h>

#include "tests/subtitles_view/picture_meter.h"
#include "text/font_catalog.h"

namespace zelvane {
namespace {

using test::Ink;
using test::inkOf;
using test::pictureOf;
using Alignment = SubtitleTextStyle::Alignment;

// Of DejaVu Sans, in its 2048 units to the em.
constexpr double kUnitsPerEm = 2048;
constexpr double kAscentInUnits = 1901;
constexpr double kLineHeightInUnits = 1901 + 483;
constexpr double kAdvanceOfH = 1540;
constexpr double kHeightOfH = 1493;
constexpr double kLeftOfH = 201;

constexpr SRGBColor kRed{1, 0, 0, 1};
constexpr SRGBColor kGreen{0, 1, 0, 1};
constexpr SRGBColor kBlue{0, 0, 1, 1};
constexpr SRGBColor kYellow{1, 0.9, 0.2, 1};
constexpr SRGBColor kBlueShadow{0, 0, 0.5, 0.8};

/// A picture in which a unit of the text is a pixel, and the letters are 100 high.
constexpr QSizeF kViewSize(1600, 1000);
constexpr double kFontSize = 100;

double units(double ofFont) {
    return ofFont * kFontSize / kUnitsPerEm;
}

SubtitleTextStyle style(Alignment alignment = Alignment::center) {
    SubtitleTextStyle result;
    StringAttributes& attributes = result.textAttributes.underlyingTextAttributes;
    attributes.font = Font{"DejaVu Sans", kFontSize, 0};
    attributes.foregroundColor = kWhiteColor;
    result.overlayStyle.backgroundColor = kClearWhiteColor;
    result.containerInsets = {40, 30, 50, 20};
    result.alignmentInContainer = alignment;
    result.scalingInfo = {kFontSize, 10, 1};
    return result;
}

SubtitleTextStyle stroked(double width) {
    SubtitleTextStyle result = style();
    result.textAttributes.underlyingTextAttributes.strokeWidth = width;
    result.textAttributes.underlyingTextAttributes.strokeColor = kRed;
    return result;
}

StringAttributes attributes() {
    return style().textAttributes.underlyingTextAttributes;
}

FormattedTextSubtitle subtitle(std::string_view text, const SubtitleTextStyle& ofStyle) {
    return {std::make_shared<const AttributedString>(
                text, ofStyle.textAttributes.underlyingTextAttributes),
            ofStyle};
}

FormattedTextSubtitle subtitle(const AttributedString& text,
                               const SubtitleTextStyle& ofStyle = style()) {
    return {std::make_shared<const AttributedString>(text), ofStyle};
}

QImage picture(const FormattedTextSubtitle& ofSubtitle, bool isPrimary = true,
               QSizeF size = kViewSize, QColor ground = Qt::black, qreal devicePixelRatio = 1) {
    FormattedTextSubtitleView view(ofSubtitle, isPrimary);
    return pictureOf(view, size, ground, devicePixelRatio);
}

TEST(FormattedTextSubtitleView, primaryTextIsAtTheBottomMarginAndSecondaryTextAtTheTop) {
    const FormattedTextSubtitle text = subtitle("H", style());
    const double height = std::ceil(units(kLineHeightInUnits));
    for (const bool isPrimary : {true, false}) {
        const Ink ink = inkOf(picture(text, isPrimary), test::isLight);
        const double baseline =
            (isPrimary ? kViewSize.height() - 50 - height : 40) + units(kAscentInUnits);
        EXPECT_NEAR(ink.bottom(), baseline, 1) << isPrimary;
        EXPECT_NEAR(ink.top(), baseline - units(kHeightOfH), 1) << isPrimary;
    }
}

TEST(FormattedTextSubtitleView, theBlockIsAlignedAndLinesAreCentredInACentredBlock) {
    const double wide = std::ceil(units(4 * kAdvanceOfH));
    const double space = kViewSize.width() - 30 - 20;
    struct Case {
        Alignment alignment;
        double longLine;
        double shortLine;
    };
    const double middle = 30 + (space - wide) / 2;
    const double right = 30 + space - wide;
    const Case cases[] = {
        {Alignment::left, 30, 30},
        {Alignment::center, middle, middle + units(1.5 * kAdvanceOfH)},
        {Alignment::right, right, right},
    };
    for (const Case& c : cases) {
        const QImage image = picture(subtitle("HHHH\nH", style(c.alignment)));
        const int boundary = static_cast<int>(kViewSize.height() - 50 - units(kLineHeightInUnits));
        const Ink first = inkOf(image, test::isLight, QRect(0, 0, image.width(), boundary));
        const Ink second = inkOf(image, test::isLight,
                                 QRect(0, boundary, image.width(), image.height() - boundary));
        EXPECT_NEAR(first.left(), c.longLine + units(kLeftOfH), 1.5);
        EXPECT_NEAR(second.left(), c.shortLine + units(kLeftOfH), 1.5);
    }
}

FormattedTextSubtitle everything() {
    SubtitleTextStyle decorated = stroked(-12);
    decorated.textAttributes.underlyingTextAttributes.shadow = TextShadow{{16, -24}, 0, kBlue};
    decorated.overlayStyle = {{30, 60}, 20, kGreen};
    return subtitle("HH\nH", decorated);
}

TEST(FormattedTextSubtitleView, doublingTheSizeDoublesEverythingButTheCorners) {
    const QImage once = picture(everything(), true, kViewSize / 2);
    const QImage twice = picture(everything(), true, kViewSize);
    for (const auto& passes : {test::ColorTest(test::isLight), test::ColorTest(test::isRed),
                               test::ColorTest(test::isGreen), test::ColorTest(test::isBlue)}) {
        const Ink small = inkOf(once, passes);
        const Ink large = inkOf(twice, passes);
        ASSERT_GT(small.count, 0);
        EXPECT_NEAR(large.left(), 2 * small.left(), 2);
        EXPECT_NEAR(large.top(), 2 * small.top(), 2);
        EXPECT_NEAR(large.right(), 2 * small.right(), 2);
        EXPECT_NEAR(large.bottom(), 2 * small.bottom(), 2);
    }
    const auto cornerWidth = [](const QImage& image) {
        const Ink box = inkOf(image, test::isGreen);
        return inkOf(image, test::isGreen,
                     QRect(box.bounds.topLeft(), QSize(box.bounds.width(), 1)))
                   .left() -
               box.left();
    };
    EXPECT_NEAR(cornerWidth(once), 20, 6);
    EXPECT_EQ(cornerWidth(once), cornerWidth(twice));
}

TEST(FormattedTextSubtitleView, theOutlineSurroundsTheLettersAndDoesNotCoverThem) {
    const SubtitleTextStyle outlined = stroked(-16);
    const Ink bare = inkOf(picture(subtitle("H", style())), test::isLight);
    const QImage image = picture(subtitle("H", outlined));
    const Ink letter = inkOf(image, [](QColor c) { return c.blue() >= 128; });
    EXPECT_EQ(letter.bounds, bare.bounds);
    EXPECT_EQ(letter.count, bare.count);
    // Half of the pen's 16 on each side.
    const Ink all = inkOf(image, [](QColor c) { return c.red() >= 128; });
    EXPECT_NEAR(all.left(), bare.left() - 8, 1);
    EXPECT_NEAR(all.right(), bare.right() + 8, 1);
    EXPECT_NEAR(all.top(), bare.top() - 8, 1);
    EXPECT_NEAR(all.bottom(), bare.bottom() + 8, 1);
}

TEST(FormattedTextSubtitleView, theOutlinesCornersAreCutOff) {
    const QImage image = picture(subtitle("H", stroked(-40)));
    const Ink all = inkOf(image, test::isRed);
    // A bevel of a corner of 20 pixels leaves none of it.
    const Ink corner = inkOf(image, test::isRed, QRect(all.bounds.topLeft(), QSize(8, 8)));
    EXPECT_EQ(corner.count, 0);
    EXPECT_TRUE(test::isRed(image.pixelColor(all.left() + 16, all.top() + 16)));
}

TEST(FormattedTextSubtitleView, aPositiveStrokeWidthMakesLettersHollow) {
    const QImage image = picture(subtitle("H", stroked(4)));
    EXPECT_EQ(inkOf(image, test::isLight).count, 0);
    EXPECT_GT(inkOf(image, test::isRed).count, 500);
}

TEST(FormattedTextSubtitleView, aShadowHasTheShapeOfTheLettersWithTheirOutline) {
    SubtitleTextStyle shadowed = stroked(-16);
    shadowed.textAttributes.underlyingTextAttributes.shadow = TextShadow{{200, -300}, 0, kBlue};
    const QImage image = picture(subtitle("H", shadowed), false);
    const Ink all = inkOf(image, [](QColor c) { return c.red() >= 128; });
    const Ink shadow = inkOf(image, test::isBlue);
    EXPECT_NEAR(shadow.left(), all.left() + 200, 1);
    EXPECT_NEAR(shadow.top(), all.top() + 300, 1);
    EXPECT_NEAR(shadow.count, all.count, 10);
}

TEST(FormattedTextSubtitleView, onlyTheRunsWithAShadowCastOne) {
    AttributedString text("H", attributes());
    StringAttributes shadowed = attributes();
    shadowed.shadow = TextShadow{{0, -200}, 0, kBlue};
    text.append("H", shadowed);
    const QImage image = picture(subtitle(text), false);
    const Ink letters = inkOf(image, test::isLight);
    const Ink shadow = inkOf(image, test::isBlue);
    EXPECT_NEAR(shadow.right(), letters.right(), 1);
    EXPECT_NEAR(shadow.left(), letters.left() + units(kAdvanceOfH), 1);
}

TEST(FormattedTextSubtitleView, theBlurDoesNotScaleAndKeepsTheSumOfTheShadow) {
    SubtitleTextStyle blurred = style();
    StringAttributes& look = blurred.textAttributes.underlyingTextAttributes;
    look.foregroundColor = kRed;
    look.shadow = TextShadow{{0, -300}, 0, kBlue};
    const auto weight = [](const QImage& image) {
        double sum = 0;
        for (int y = 0; y < image.height(); ++y) {
            for (int x = 0; x < image.width(); ++x) {
                sum += image.pixelColor(x, y).blueF();
            }
        }
        return sum;
    };
    const auto reach = [](const QImage& image) {
        const Ink soft = inkOf(image, [](QColor c) { return c.blue() >= 2; });
        return inkOf(image, test::isBlue).left() - soft.left();
    };
    const QImage sharp = picture(subtitle("H", blurred), false);
    look.shadow->blurRadius = 4;
    const QImage soft = picture(subtitle("H", blurred), false);
    EXPECT_NEAR(weight(soft) / weight(sharp), 1, 0.02);
    EXPECT_LE(reach(sharp), 1);
    EXPECT_NEAR(reach(soft), 5, 2);
    EXPECT_NEAR(reach(picture(subtitle("H", blurred), false, kViewSize / 2)), reach(soft), 1);
}

TEST(FormattedTextSubtitleView, eachPassIsDrawnOverThePassBefore) {
    SubtitleTextStyle dense = style();
    StringAttributes& look = dense.textAttributes.underlyingTextAttributes;
    look.kern = -50;
    look.strokeWidth = -30;
    look.strokeColor = kRed;
    look.shadow = TextShadow{{20, -20}, 0, kBlue};
    AttributedString text;
    // Runs of their own, of which none may lie over the letters of another.
    for (const double alpha : {1.0, 0.999, 1.0}) {
        look.foregroundColor = kWhiteColor.withAlpha(alpha);
        text.append("H", look);
    }
    SubtitleTextStyle bare = style();
    bare.textAttributes.underlyingTextAttributes.kern = -50;
    const auto isLetter = [](QColor c) { return c.green() >= 128; };
    EXPECT_NEAR(inkOf(picture(subtitle(text, dense)), isLetter).count,
                inkOf(picture(subtitle("HHH", bare)), isLetter).count, 5);
}

TEST(FormattedTextSubtitleView, aBackgroundIsPaintedOnceUnderEverything) {
    AttributedString text;
    StringAttributes look = attributes();
    look.foregroundColor = kWhiteColor.withAlpha(0);
    look.backgroundColor = kBlue.withAlpha(0.5);
    look.shadow = TextShadow{{5, -5}, 0, kRed};
    text.append("HH", look);
    look.underlineColor = kGreen;
    text.append("H\u05d0H\nHHH", look);
    const QImage image = picture(subtitle(text));
    const Ink ink = inkOf(image, [](QColor c) { return c != QColor(Qt::black); });
    EXPECT_NEAR(ink.bounds.height(), 2 * units(kLineHeightInUnits), 2);
    const Ink uneven = inkOf(image, [](QColor c) {
        return c != QColor(0, 0, 128) && c != QColor(0, 0, 127) && c != QColor(Qt::black);
    });
    EXPECT_EQ(uneven.count, 0) << uneven.left() << ", " << uneven.top();
    // What is over it hides it.
    look.foregroundColor = kWhiteColor;
    const QImage covered = picture(subtitle(AttributedString("H", look)));
    EXPECT_GT(inkOf(covered, [](QColor c) { return c == QColor(Qt::white); }).count, 1000);
}

TEST(FormattedTextSubtitleView, theBoxIsBehindTheTextAndLargerThanIt) {
    SubtitleTextStyle boxed = style();
    boxed.overlayStyle = {{15, 25}, 0, kGreen};
    const QImage image = picture(subtitle("HH", boxed));
    const Ink box = inkOf(image, [](QColor c) { return c.green() >= 128; });
    EXPECT_EQ(box.bounds.width(), std::ceil(units(2 * kAdvanceOfH)) + 30);
    EXPECT_EQ(box.bounds.height(), std::ceil(units(kLineHeightInUnits)) + 50);
    // The margin is the box's.
    EXPECT_EQ(box.bottom(), kViewSize.height() - 50);
    EXPECT_GT(inkOf(image, [](QColor c) { return c == QColor(Qt::white); }).count, 1000);
}

TEST(FormattedTextSubtitleView, linesUnderAndThroughTextHaveTheirOwnColors) {
    StringAttributes look = attributes();
    look.underlineStyle = 1;
    look.strikethroughStyle = 1;
    look.underlineColor = kRed;
    look.strikethroughColor = kBlue;
    look.kern = 10;
    const QImage image = picture(subtitle(AttributedString("HHH", look)), false);
    const double baseline = 40 + units(kAscentInUnits);
    const double width = units(3 * kAdvanceOfH) + 30;
    const Ink underline = inkOf(image, test::isRed);
    EXPECT_NEAR(underline.top(), baseline + units(40), 1);
    EXPECT_NEAR(underline.bounds.height(), units(90), 1.5);
    EXPECT_NEAR(underline.bounds.width(), width, 1.5);
    const Ink strikethrough = inkOf(image, test::isBlue);
    EXPECT_NEAR(strikethrough.top(), baseline - units(530), 1);
    EXPECT_NEAR(strikethrough.bounds.height(), units(102), 1.5);
    EXPECT_NEAR(strikethrough.bounds.width(), width, 1.5);
    // In the letters' colour where they have none.
    look.underlineColor.reset();
    look.strikethroughColor.reset();
    look.foregroundColor = kGreen;
    const QImage same = picture(subtitle(AttributedString("HHH", look)), false);
    EXPECT_NEAR(inkOf(same, test::isGreen).bounds.width(), width, 1.5);
}

TEST(FormattedTextSubtitleView, traitsAreSynthesisedForFamiliesWithoutAFaceForThem) {
    const auto pictureWith = [](const char* family, FontTraitMask traits) {
        SubtitleTextStyle look = style();
        look.textAttributes.underlyingTextAttributes.font = Font{family, kFontSize, traits};
        return picture(subtitle("l\u05d0", look), false);
    };
    // The family has no italic Hebrew letters, and the other one no bold letters at all.
    for (const char* family : {"DejaVu Sans", "DejaVu Math TeX Gyre"}) {
        if (!FontCatalog::shared().font(family, kFontSize)) {
            continue;
        }
        const Ink plain = inkOf(pictureWith(family, 0), test::isLight);
        const Ink bold = inkOf(pictureWith(family, kBoldFontMask), test::isLight);
        EXPECT_GT(bold.count, 1.2 * plain.count) << family;
        const QImage italic = pictureWith(family, kItalicFontMask);
        const Ink all = inkOf(italic, test::isLight);
        const auto rightEnd = [&](int y) {
            return inkOf(italic, test::isLight, QRect(all.left(), y, all.bounds.width(), 1))
                .right();
        };
        const auto leftEnd = [&](int y) {
            return inkOf(italic, test::isLight, QRect(all.left(), y, all.bounds.width(), 1)).left();
        };
        EXPECT_GT(rightEnd(all.top() + 25), rightEnd(all.bottom() - 2) + 2) << family;
        EXPECT_GT(leftEnd(all.top() + 25), leftEnd(all.bottom() - 2) + 4) << family;
    }
}

TEST(FormattedTextSubtitleView, rightToLeftTextBeginsAtTheRight) {
    AttributedString text;
    for (const auto& [letter, color] : {std::pair("\u05d0", kRed), std::pair("\u05d1", kGreen)}) {
        StringAttributes look = attributes();
        look.foregroundColor = color;
        text.append(letter, look);
    }
    const QImage image = picture(subtitle(text));
    EXPECT_GT(inkOf(image, test::isRed).left(), inkOf(image, test::isGreen).right() - 2);
}

TEST(FormattedTextSubtitleView, emojiKeepTheirColors) {
    if (!FontCatalog::shared().font("emoji", kFontSize)) {
        GTEST_SKIP() << "SKIPPED: no font of emoji is installed";
    }
    const QImage image = picture(subtitle("\U0001F600", style()));
    const Ink yellow =
        inkOf(image, [](QColor c) { return c.red() > 150 && c.green() > 100 && c.blue() < 100; });
    EXPECT_NEAR(yellow.bounds.height(), kFontSize, 0.25 * kFontSize);
    EXPECT_GT(yellow.count, 3000);
}

TEST(FormattedTextSubtitleView, screensOfMorePixelsShowTheSamePictureInMorePixels) {
    const QImage coarse = picture(everything(), true, kViewSize / 2, Qt::black, 1);
    const QImage fine = picture(everything(), true, kViewSize / 2, Qt::black, 2);
    const QImage large = picture(everything(), true, kViewSize, Qt::black, 1);
    const Ink letters = inkOf(fine, test::isLight);
    EXPECT_NEAR(letters.left(), 2 * inkOf(coarse, test::isLight).left(), 2);
    // Every line as sharp as in a picture of as many pixels.
    EXPECT_NEAR(letters.count, inkOf(large, test::isLight).count, 10);

    FormattedTextSubtitleView view(everything(), true);
    view.setSize(kViewSize / 2, 2);
    const QRectF rect = view.paintedRect();
    view.setSize(kViewSize / 2, 1);
    EXPECT_NEAR(rect.left(), view.paintedRect().left(), 1);
    EXPECT_NEAR(rect.bottom(), view.paintedRect().bottom(), 1);
}

TEST(FormattedTextSubtitleView, theImageIsPaintedAtWholePixels) {
    FormattedTextSubtitleView view(everything(), true);
    for (const qreal ratio : {1.0, 1.25, 2.0}) {
        view.setSize(QSizeF(800, 500), ratio);
        const auto painted = [&](QPointF origin) {
            QImage image((QSizeF(810, 510) * ratio).toSize(), QImage::Format_RGB32);
            image.setDevicePixelRatio(ratio);
            image.fill(Qt::black);
            QPainter painter(&image);
            painter.translate(origin);
            view.paint(painter);
            painter.end();
            return image;
        };
        const QImage exact = painted({0, 0});
        EXPECT_EQ(painted({0.3 / ratio, -0.2 / ratio}), exact) << ratio;
        EXPECT_NE(painted({1 / ratio, 0}), exact) << ratio;
    }
}

TEST(FormattedTextSubtitleView, nothingIsPaintedOutsideThePaintedRect) {
    SubtitleTextStyle soft = style();
    soft.textAttributes.underlyingTextAttributes.shadow = TextShadow{{30, 10}, 9, kRed};
    for (const auto& shown : {everything(), subtitle("gjpq\u00c5", soft)}) {
        FormattedTextSubtitleView view(shown, true);
        const QImage image = pictureOf(view, kViewSize);
        const Ink ink = inkOf(image, [](QColor c) { return c != QColor(Qt::black); });
        ASSERT_GT(ink.count, 0);
        EXPECT_TRUE(view.paintedRect().contains(QRectF(ink.bounds)));
        EXPECT_LT(view.paintedRect().width(), ink.bounds.width() + 60);
    }
}

/// All attributes of a line at once, over a light and a dark half.
QImage pictureOfAllLooks() {
    SubtitleTextStyle looks = style();
    looks.scalingInfo.baseFontSizePercentageRelativeToVideoHeight = 20;
    looks.overlayStyle = {{10, 5}, 6, SRGBColor{0, 0, 0, 0.3}};
    AttributedString text;
    StringAttributes look = attributes();
    look.strokeWidth = -8;
    look.strokeColor = kBlackColor;
    look.shadow = TextShadow{{5, -5}, 3, kBlueShadow};
    text.append("Plain ", look);
    look.font = look.font->havingTraits(kBoldFontMask);
    look.foregroundColor = kYellow;
    look.underlineStyle = 1;
    text.append("bold ", look);
    look.shadow.reset();
    look.backgroundColor = kRed.withAlpha(0.5);
    text.append("\u05e9\u05dc\u05d5\u05dd\n", look);
    look.foregroundColor = kWhiteColor.withAlpha(0.4);
    look.backgroundColor.reset();
    look.kern = 20;
    text.append("see-through", look);
    FormattedTextSubtitleView view(subtitle(text, looks), true);
    const QSize size(400, 160);
    QImage image(size, QImage::Format_RGB32);
    image.fill(QColor(230, 225, 215));
    QPainter painter(&image);
    painter.fillRect(size.width() / 2, 0, size.width() / 2, size.height(), QColor(30, 35, 40));
    view.setSize(size, 1);
    view.paint(painter);
    return image;
}

/// Of a component of any pixel.
int largestDifference(const QImage& a, const QImage& b) {
    int largest = a.size() == b.size() ? 0 : 255;
    for (int y = 0; largest < 255 && y < a.height(); ++y) {
        const auto* rowOfA = reinterpret_cast<const QRgb*>(a.constScanLine(y));
        const auto* rowOfB = reinterpret_cast<const QRgb*>(b.constScanLine(y));
        for (int x = 0; x < a.width(); ++x) {
            if (rowOfA[x] == rowOfB[x]) {
                continue;
            }
            const QColor first(rowOfA[x]);
            const QColor second(rowOfB[x]);
            largest = std::max({largest, std::abs(first.red() - second.red()),
                                std::abs(first.green() - second.green()),
                                std::abs(first.blue() - second.blue())});
        }
    }
    return largest;
}

TEST(FormattedTextSubtitleView, omittingTheHiddenInnerOutlineChangesNoPixel) {
    std::string letters;
    for (char32_t c = U'!'; c < U'\u0250'; ++c) {
        letters += QString::fromUcs4(&c, 1).toStdString();
    }
    letters += "\u03a6\u03b8\u0416\u042f\u05e9\u05d0\u0628\u0647\u2116\u20ac\u2665";
    SubtitleTextStyle looks = style();
    looks.scalingInfo.baseFontSizePercentageRelativeToVideoHeight = 5;
    StringAttributes& look = looks.textAttributes.underlyingTextAttributes;
    look.strokeColor = kRed;
    look.shadow = TextShadow{{15, -20}, 0, kBlue};
    for (const FontTraitMask traits : {FontTraitMask{0}, kBoldFontMask, kItalicFontMask}) {
        for (const double width : {-3.0, -8.0, -12.0, -50.0}) {
            look.font->traits = traits;
            look.strokeWidth = width;
            look.foregroundColor = kWhiteColor;
            const QImage hidden = picture(subtitle(letters, looks));
            // Nearly opaque, so that nothing may be omitted.
            look.foregroundColor = kWhiteColor.withAlpha(0.9999);
            // At sharp corners the edge within crosses the one outside.
            EXPECT_LE(largestDifference(hidden, picture(subtitle(letters, looks))), 80)
                << traits << ", " << width;
        }
    }
}

/// Checks how the passes look together. With ZELVANE_WRITE_GOLDENS the picture is written; look at
/// it before you commit it.
TEST(FormattedTextSubtitleView, allAttributesTogetherMatchTheGolden) {
    const QString golden = ZELVANE_SUBTITLE_GOLDENS "/all_looks.png";
    const QImage image = pictureOfAllLooks();
    if (qEnvironmentVariableIsSet("ZELVANE_WRITE_GOLDENS")) {
        ASSERT_TRUE(image.save(golden));
    }
    const QImage expected = QImage(golden).convertToFormat(QImage::Format_RGB32);
    ASSERT_EQ(image.size(), expected.size());
    // Versions of the font library may differ slightly at edges.
    EXPECT_LT(largestDifference(image, expected), 64);
}

TEST(FormattedTextSubtitleView, extremeStylesAreDrawnInBoundedTime) {
    constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
    constexpr double kInfinity = std::numeric_limits<double>::infinity();
    const QSizeF view(640, 360);
    for (const double odd : {0.0, -1.0, 1e9, -1e9, 1e30, kNaN, kInfinity, -kInfinity}) {
        std::vector<FormattedTextSubtitle> subtitles;
        const auto with = [&](const auto& edit) {
            SubtitleTextStyle strange = style();
            edit(strange, strange.textAttributes.underlyingTextAttributes);
            subtitles.push_back(subtitle("Odd\nstyle", strange));
        };
        with([&](auto& s, auto&) { s.containerInsets = {odd, odd, odd, odd}; });
        with([&](auto& s, auto&) { s.overlayStyle = {{odd, odd}, odd, kGreen}; });
        with([&](auto& s, auto&) { s.scalingInfo.initialBaseFontSize = odd; });
        with([&](auto& s, auto&) { s.scalingInfo.additionalFontSizeMultiplier = odd; });
        with([&](auto& s, auto&) {
            s.scalingInfo.baseFontSizePercentageRelativeToVideoHeight = odd;
        });
        with([&](auto&, auto& a) { a.font->pointSize = odd; });
        with([&](auto&, auto& a) { a.kern = odd; });
        with([&](auto&, auto& a) { a.strokeWidth = odd; });
        with([&](auto&, auto& a) { a.foregroundColor = SRGBColor{odd, odd, odd, odd}; });
        with([&](auto&, auto& a) { a.shadow = TextShadow{{odd, odd}, odd, kBlue}; });
        for (const FormattedTextSubtitle& strange : subtitles) {
            FormattedTextSubtitleView shown(strange, true);
            const auto begin = std::chrono::steady_clock::now();
            pictureOf(shown, view);
            EXPECT_TRUE(QRectF(QPointF(), view).contains(shown.paintedRect()) ||
                        shown.paintedRect().isEmpty());
            EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(5))
                << &strange - subtitles.data() << " with " << odd;
        }
    }
}

TEST(FormattedTextSubtitleView, extremeTextsAreDrawnInBoundedTime) {
    constexpr int kRuns = 4096;
    struct Case {
        const char* name;
        std::function<void(AttributedString& text, StringAttributes look)> write;
    };
    const Case cases[] = {
        {"a megabyte", [](auto& text, auto look) { text.append(std::string(1 << 20, 'm'), look); }},
        {"runs of their own size",
         [](auto& text, auto look) {
             for (int i = 0; i < kRuns; ++i) {
                 look.font = look.font->ofSize(1 + i * 0.01);
                 text.append("m ", look);
             }
         }},
        {"runs of their own shadow",
         [](auto& text, auto look) {
             look.font = look.font->ofSize(5);
             for (int i = 0; i < kRuns; ++i) {
                 look.shadow = TextShadow{{0.01 * i, 1}, 500, kBlue};
                 text.append("m ", look);
             }
         }},
        {"runs of outlines as wide as the picture",
         [](auto& text, auto look) {
             look.font = look.font->ofSize(1);
             look.strokeWidth = -1e6;
             for (int i = 0; i < kRuns; ++i) {
                 look.foregroundColor = SRGBColor{i / 4096.0, 1, 1, 1};
                 text.append("m", look);
             }
         }},
        {"letters upon each other",
         [](auto& text, auto look) {
             look.font = look.font->ofSize(900);
             look.kern = -500;
             text.append(std::string(8000, 'l'), look);
         }},
        {"nothing but embeddings",
         [](auto& text, auto look) {
             for (int i = 0; i < 2000; ++i) {
                 text.append("\u202b\u202a", look);
             }
         }},
        {"marks upon one letter",
         [](auto& text, auto look) {
             for (int i = 0; i < 4000; ++i) {
                 text.append("\u0301", look);
             }
         }},
        {"bytes that are no text",
         [](auto& text, auto look) { text.append("a\xff\xc0\x80\xed\xa0\x80\xf4z", look); }},
    };
    for (const Case& c : cases) {
        AttributedString text;
        c.write(text, attributes());
        const auto begin = std::chrono::steady_clock::now();
        FormattedTextSubtitleView view(subtitle(text), true);
        pictureOf(view, QSizeF(1280, 720));
        EXPECT_TRUE(QRectF(0, 0, 1280, 720).contains(view.paintedRect()) ||
                    view.paintedRect().isEmpty())
            << c.name;
        EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(5)) << c.name;
    }
}

TEST(FormattedTextSubtitleView, extremeSizesAreHarmless) {
    FormattedTextSubtitleView view(everything(), true);
    for (const QSizeF size :
         {QSizeF(0, 0), QSizeF(100, 0), QSizeF(-5, 20), QSizeF(1, 1), QSizeF(3, 2000),
          QSizeF(2000, 3), QSizeF(1e9, 1e9), QSizeF(std::nan(""), 100)}) {
        for (const qreal ratio : {0.0, 1.0, 3.0, std::nan("")}) {
            view.setSize(size, ratio);
            QImage image(10, 10, QImage::Format_RGB32);
            QPainter painter(&image);
            view.paint(painter);
            EXPECT_LE(view.paintedRect().width(), 16384);
        }
    }
    // A normal size works again.
    view.setSize(kViewSize, 1);
    EXPECT_GT(view.paintedRect().height(), 100);
}

TEST(FormattedTextSubtitleView, anEmptyTextShowsNothing) {
    SubtitleTextStyle boxed = style();
    boxed.overlayStyle = {{10, 10}, 0, kGreen};
    for (const char* text : {"", "\n", " ", "\u200b"}) {
        FormattedTextSubtitleView empty(subtitle(text, boxed), true);
        empty.setSize(kViewSize, 1);
        EXPECT_TRUE(empty.paintedRect().isEmpty()) << text;
    }
    FormattedTextSubtitleView none({nullptr, style()}, true);
    none.setSize(kViewSize, 1);
    EXPECT_TRUE(none.paintedRect().isEmpty());
}

} // namespace
} // namespace zelvane
