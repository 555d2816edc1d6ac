// SPDX-License-Identifier: GPL-3.0-or-later
#include "subtitles_view/text_block.h"

#include <algorithm>
#include <chrono>

#include <gtest/gtest.h>

#include <QRawFont>

#include "text/font_catalog.h"

namespace zelvane {
namespace {

constexpr double kSize = 100;
// Of DejaVu Sans, in thousands of the em: the packaged font of the tests.
constexpr double kLineHeight = kSize * (1901 + 483) / 2048;
constexpr double kAscent = kSize * 1901 / 2048;
constexpr double kWidthOfH = kSize * 1540 / 2048;

constexpr TextBlockLimits kRoomy{1e5, 1e5, 1e4, false};

StringAttributes dejaVu(double size = kSize) {
    StringAttributes result;
    result.font = Font{"DejaVu Sans", size, 0};
    return result;
}

AttributedString plain(std::string_view text) {
    return {text, dejaVu()};
}

TextBlock block(std::string_view text, const TextBlockLimits& limits = kRoomy) {
    static AttributedString string;
    string = plain(text);
    return layOutText(string, limits);
}

std::size_t glyphCount(const TextLine& line) {
    std::size_t count = 0;
    for (const TextSegment& segment : line.segments) {
        for (const QGlyphRun& run : segment.glyphs) {
            count += static_cast<std::size_t>(run.glyphIndexes().size());
        }
    }
    return count;
}

/// Whether the line's last glyph from the left, or its first, is the ellipsis of the font.
bool hasEllipsis(const TextLine& line) {
    for (const TextSegment& segment : line.segments) {
        for (const QGlyphRun& run : segment.glyphs) {
            const auto ellipsis = run.rawFont().glyphIndexesForString(QChar(0x2026));
            if (run.glyphIndexes().contains(ellipsis.front())) {
                return true;
            }
        }
    }
    return false;
}

std::vector<std::size_t> glyphCounts(const TextBlock& block) {
    std::vector<std::size_t> counts;
    for (const TextLine& line : block.lines) {
        counts.push_back(glyphCount(line));
    }
    return counts;
}

TEST(TextBlock, aLineHasTheSizeOfItsFont) {
    const TextBlock result = block("HHH");
    ASSERT_EQ(result.lines.size(), 1U);
    EXPECT_NEAR(result.size.width, 3 * kWidthOfH, 0.1);
    EXPECT_NEAR(result.size.height, kLineHeight, 0.3);
    EXPECT_NEAR(result.lines[0].baseline, kAscent, 0.2);
    EXPECT_NEAR(result.lines[0].segments[0].width, 3 * kWidthOfH, 0.1);
    EXPECT_FALSE(result.isTruncated);
}

TEST(TextBlock, sizesOfAllMagnitudesAreInProportion) {
    for (const double size : {0.5, 3.0, 12.0, 77.7, 1000.0, 30000.0}) {
        const AttributedString text("HHH", dejaVu(size));
        const TextBlock result = layOutText(text, {1e9, 1e9, 1e9, false});
        EXPECT_NEAR(result.size.width / size, 3 * kWidthOfH / kSize, 0.01) << size;
        EXPECT_NEAR(result.size.height / size, kLineHeight / kSize, 0.01) << size;
    }
}

TEST(TextBlock, invalidSizesUseTheDefaultAndLargeOnesAreBounded) {
    struct Case {
        double size;
        double effective;
    };
    for (const Case& c : {Case{0, 12}, Case{-5, 12}, Case{std::nan(""), 12}, Case{1e30, 500}}) {
        const AttributedString text("HHH", dejaVu(c.size));
        const TextBlock result = layOutText(text, {1e9, 1e9, 500, false});
        EXPECT_NEAR(result.size.width / c.effective, 3 * kWidthOfH / kSize, 0.01) << c.size;
    }
}

TEST(TextBlock, everyKindOfBreakEndsALine) {
    struct Case {
        const char* text;
        std::vector<std::size_t> glyphs;
    };
    const Case cases[] = {
        {"H\nHH", {1, 2}},     {"H\r\nHH", {1, 2}},    {"H\rHH", {1, 2}}, {"H\u2028HH", {1, 2}},
        {"H\u2029HH", {1, 2}}, {"H\n\nHH", {1, 0, 2}}, {"\nH", {0, 1}},   {"H\n", {1, 0}},
    };
    for (const Case& c : cases) {
        TextBlock result = block(c.text);
        ASSERT_EQ(result.lines.size(), c.glyphs.size()) << c.text;
        for (std::size_t i = 0; i < c.glyphs.size(); ++i) {
            EXPECT_NEAR(result.lines[i].width, static_cast<double>(c.glyphs[i]) * kWidthOfH, 0.1)
                << c.text;
            EXPECT_NEAR(result.lines[i].top, static_cast<double>(i) * kLineHeight, 0.5) << c.text;
        }
    }
}

TEST(TextBlock, linesAreBrokenBetweenWordsElseAnywhere) {
    EXPECT_EQ(glyphCounts(block("HHH HHH HHH", {8.5 * kWidthOfH, 1e5, 1e4, false})),
              (std::vector<std::size_t>{7, 3}));
    EXPECT_EQ(glyphCounts(block("HHHHHHHHHH", {4.2 * kWidthOfH, 1e5, 1e4, false})),
              (std::vector<std::size_t>{4, 4, 2}));
    // Without room, each line has one letter.
    EXPECT_EQ(block("HHH", {0.001, 1e5, 1e4, false}).lines.size(), 3U);
}

TEST(TextBlock, blanksAtABreakTakeNoRoom) {
    for (const char* text : {"HHH HHH", "HHH  \nHHH", "HHH\t\nHHH "}) {
        const TextBlock result = block(text, {4.5 * kWidthOfH, 1e5, 1e4, false});
        ASSERT_EQ(result.lines.size(), 2U) << text;
        EXPECT_NEAR(result.size.width, 3 * kWidthOfH, 0.1) << text;
    }
}

TEST(TextBlock, textThatIsTooHighEndsInAnEllipsis) {
    struct Case {
        const char* name;
        std::string text;
        double width;
        std::size_t lines;
    };
    const Case cases[] = {
        {"a wrapped line", "HHHH HHHH HHHH HHHH", 5 * kWidthOfH, 2},
        {"one long word", std::string(50, 'H'), 5 * kWidthOfH, 2},
        {"more lines than fit", "H\nH\nH\nH", 5 * kWidthOfH, 2},
        {"a full line before a break", "H\nHHHHH\nH\nH", 5 * kWidthOfH, 2},
        {"hardly any width", "HHHHHH", 0.5 * kWidthOfH, 2},
    };
    for (const Case& c : cases) {
        const TextBlock result = block(c.text, {c.width, 2.5 * kLineHeight, 1e4, false});
        ASSERT_EQ(result.lines.size(), c.lines) << c.name;
        EXPECT_TRUE(result.isTruncated) << c.name;
        EXPECT_FALSE(hasEllipsis(result.lines[0])) << c.name;
        EXPECT_TRUE(hasEllipsis(result.lines[1])) << c.name;
        if (c.width > kSize) {
            EXPECT_LE(result.lines[1].width, c.width) << c.name;
        }
    }
    // Only the space of the ellipsis is removed first.
    const TextBlock tight = block("HHHHHHHHHHHH", {5 * kWidthOfH, 1.5 * kLineHeight, 1e4, false});
    EXPECT_EQ(glyphCount(tight.lines[0]), 4U);
}

TEST(TextBlock, theFirstLineIsAlwaysThere) {
    const TextBlock result = block("HHH\nH", {1e5, 1, 1e4, false});
    ASSERT_EQ(result.lines.size(), 1U);
    EXPECT_TRUE(hasEllipsis(result.lines[0]));
}

TEST(TextBlock, longTextsAreLaidOutInBoundedTime) {
    using Clock = std::chrono::steady_clock;
    const std::string texts[] = {std::string(1 << 20, 'x'), std::string(1 << 20, '\n'),
                                 std::string(1 << 20, ' ')};
    for (const std::string& text : texts) {
        const auto begin = Clock::now();
        const TextBlock result = block(text, {2000, 1000, 1e4, true});
        EXPECT_TRUE(result.isTruncated);
        EXPECT_LE(result.lines.size(), 9U);
        EXPECT_LT(Clock::now() - begin, std::chrono::seconds(5));
    }
    // Cut off although there is room.
    EXPECT_TRUE(block(std::string(100000, 'x'), {1e7, 1e7, 1e4, true}).isTruncated);
}

TEST(TextBlock, linesAreCentredOrBeginAtTheSideOfTheirScript) {
    const std::string hebrew = "\u05d0\u05d1";
    const double room = 40 * kSize;
    struct Case {
        std::string text;
        bool isCentered;
        /// 0 for that of the first line.
        double blockWidth;
        /// 0 for left, 0.5 for the middle, 1 for right.
        std::vector<double> places;
    };
    const double wide = 4 * kWidthOfH;
    const Case cases[] = {
        {"HHHH\nH", true, wide, {0, 0.5}},
        {"HHHH\nH", false, wide, {0, 0}},
        {"HHHH\n" + hebrew, true, wide, {0, 0.5}},
        {hebrew + "\n\n" + hebrew, false, 0, {1, 0, 1}},
        // They begin at different sides of the whole width.
        {"HHHH\n" + hebrew, false, room, {0, 1}},
    };
    for (const Case& c : cases) {
        const TextBlock result = block(c.text, {room, 1e5, 1e4, c.isCentered});
        ASSERT_EQ(result.lines.size(), c.places.size());
        const double width = c.blockWidth == 0 ? result.lines[0].width : c.blockWidth;
        EXPECT_NEAR(result.size.width, width, 0.1) << c.text;
        for (std::size_t i = 0; i < c.places.size(); ++i) {
            const TextLine& line = result.lines[i];
            EXPECT_NEAR(line.left, c.places[i] * (width - line.width), 0.1) << c.text;
        }
    }
    const TextBlock alone = block(hebrew + hebrew + "\n" + hebrew, {room, 1e5, 1e4, false});
    EXPECT_NEAR(alone.size.width, alone.lines[0].width, 1e-9);
    EXPECT_NEAR(alone.lines[1].left, alone.size.width - alone.lines[1].width, 1e-9);
}

/// Where the pieces of the only line begin, in their order in the text.
std::vector<double> leftEnds(const AttributedString& string, const TextBlock& block) {
    std::vector<double> result;
    for (const auto& run : string.runs()) {
        for (const TextSegment& segment : block.lines.at(0).segments) {
            if (segment.attributes == &run.attributes) {
                result.push_back(segment.left);
                break;
            }
        }
    }
    return result;
}

AttributedString inColors(const std::vector<std::string>& pieces) {
    AttributedString string;
    for (const std::string& piece : pieces) {
        StringAttributes look = dejaVu();
        look.foregroundColor = SRGBColor{static_cast<double>(string.runs().size()), 0, 0, 1};
        string.append(piece, look);
    }
    return string;
}

TEST(TextBlock, scriptsRunInTheirOwnDirections) {
    struct Case {
        std::vector<std::string> pieces;
        /// From left to right.
        std::vector<std::size_t> order;
    };
    const Case cases[] = {
        {{"a", "b", "c"}, {0, 1, 2}},
        {{"\u05d0", "\u05d1", "\u05d2"}, {2, 1, 0}},
        // A line of Latin letters with Hebrew words in it, and the other way round.
        {{"a ", "\u05d0", "\u05d1", " b"}, {0, 2, 1, 3}},
        {{"\u05d0 ", "a", "b", " \u05d1"}, {3, 1, 2, 0}},
    };
    for (const Case& c : cases) {
        const AttributedString string = inColors(c.pieces);
        const std::vector<double> lefts = leftEnds(string, layOutText(string, kRoomy));
        ASSERT_EQ(lefts.size(), c.order.size());
        for (std::size_t i = 1; i < c.order.size(); ++i) {
            EXPECT_LT(lefts[c.order[i - 1]], lefts[c.order[i]]) << c.pieces[0] << i;
        }
    }
}

TEST(TextBlock, aChangeOfColorKeepsKerningAndJoining) {
    // "AV" is kerned, and Arabic letters join.
    for (const auto& [first, second] : {std::pair("A", "V"), std::pair("\u0628", "\u0628")}) {
        const AttributedString whole = plain(std::string(first) + second);
        const AttributedString parts = inColors({first, second});
        EXPECT_NEAR(layOutText(parts, kRoomy).size.width, layOutText(whole, kRoomy).size.width,
                    1e-9);
        EXPECT_LT(layOutText(whole, kRoomy).size.width,
                  layOutText(plain(first), kRoomy).size.width +
                      layOutText(plain(second), kRoomy).size.width - 1);
    }
}

TEST(TextBlock, spacingIsAddedToEachLetter) {
    StringAttributes spaced = dejaVu();
    spaced.kern = 10;
    const AttributedString text("HHH", spaced);
    EXPECT_NEAR(layOutText(text, kRoomy).size.width, 3 * kWidthOfH + 30, 0.1);
}

TEST(TextBlock, emptyTextIsAnEmptyBlock) {
    EXPECT_TRUE(block("").lines.empty());
    EXPECT_EQ(block("").size, CGSize{});
    EXPECT_TRUE(block("H", {1e5, 1e5, 0, false}).lines.empty());
}

TEST(TextBlock, controlCharactersShowNothing) {
    EXPECT_NEAR(block(std::string("H\0\x07\x1bH", 5)).size.width, 2 * kWidthOfH, 0.1);
    EXPECT_NEAR(block("\ufeffH").size.width, kWidthOfH, 0.1);
}

TEST(TextBlock, emojiComeFromTheSystemsFontOfEmoji) {
    const auto font = FontCatalog::shared().font("emoji", kSize);
    if (!font) {
        GTEST_SKIP() << "SKIPPED: no font of emoji is installed";
    }
    const TextBlock result = block("H\U0001F600\u2764\uFE0F");
    std::vector<std::string> families;
    for (const TextSegment& segment : result.lines.at(0).segments) {
        families.push_back(segment.glyphs.front().rawFont().familyName().toStdString());
    }
    EXPECT_EQ(families, (std::vector<std::string>{"DejaVu Sans", font->familyName}));
}

} // namespace
} // namespace zelvane
