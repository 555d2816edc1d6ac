// SPDX-License-Identifier: GPL-3.0-or-later
#include <future>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "text/attributed_string.h"
#include "text/font_catalog.h"

namespace zelvane {
namespace {

TEST(AttributedString, runsCoverTheTextAndEqualNeighboursAreOne) {
    StringAttributes plain;
    plain.foregroundColor = kWhiteColor;
    StringAttributes underlined = plain;
    underlined.underlineStyle = 1;

    AttributedString string("é", plain);
    string.append("b", plain);
    string.append("", underlined);
    string.append("c", underlined);
    EXPECT_EQ(string.text(), "ébc");
    ASSERT_EQ(string.runs().size(), 2U);
    EXPECT_EQ(string.textOf(string.runs()[0]), "éb");
    EXPECT_EQ(string.textOf(string.runs()[1]), "c");
    EXPECT_EQ(string.runs()[1].attributes, underlined);

    string.updateAttributes([](StringAttributes& attributes) { attributes.kern = 2; });
    EXPECT_EQ(string.runs()[0].attributes.kern, 2);
    EXPECT_EQ(string.runs()[1].attributes.underlineStyle, 1);
}

TEST(Font, traitsAreAddedAndRemoved) {
    const Font font{"Family", 12, kItalicFontMask};
    EXPECT_EQ(font.havingTraits(kBoldFontMask),
              (Font{"Family", 12, kBoldFontMask | kItalicFontMask}));
    EXPECT_EQ(font.notHavingTraits(kItalicFontMask | kBoldFontMask), (Font{"Family", 12, 0}));
    EXPECT_EQ(font.ofSize(7), (Font{"Family", 7, kItalicFontMask}));
}

TEST(FontCatalog, findsFamiliesAndFacesByAnyOfTheirNames) {
    const FontCatalog& catalog = FontCatalog::shared();
    if (!catalog.font("DejaVu Sans", 1)) {
        GTEST_SKIP() << "SKIPPED: DejaVu Sans is not installed";
    }
    struct Case {
        const char* name;
        Font font;
    };
    for (const auto& [name, font] : std::vector<Case>{
             {"DejaVu Sans", {"DejaVu Sans", 20, 0}},
             {"dejavu sans", {"DejaVu Sans", 20, 0}},
             {"DejaVu Sans Bold", {"DejaVu Sans", 20, kBoldFontMask}},
             {"DejaVuSans-Bold", {"DejaVu Sans", 20, kBoldFontMask}},
         }) {
        EXPECT_EQ(catalog.font(name, 20), font) << name;
    }
    for (const char* name : {"", "No Such Font 17", "\xff\xfe", "sans-serif"}) {
        EXPECT_EQ(catalog.font(name, 20), std::nullopt) << name;
    }
}

TEST(FontCatalog, alwaysHasAFontForTextWithoutSerifs) {
    const FontCatalog& catalog = FontCatalog::shared();
    EXPECT_FALSE(catalog.systemFont(9).familyName.empty());
    EXPECT_EQ(catalog.systemFont(9).pointSize, 9);
    EXPECT_EQ(catalog.helvetica(9), catalog.font("helvetica", 9).value_or(catalog.systemFont(9)));
}

TEST(FontCatalog, answersManyThreadsAndManyNames) {
    const FontCatalog catalog;
    constexpr std::size_t kThreads = 4;
    std::vector<std::future<int>> threads;
    threads.reserve(kThreads);
    for (std::size_t thread = 0; thread < kThreads; ++thread) {
        threads.push_back(std::async(std::launch::async, [&catalog, thread] {
            int found = 0;
            for (int i = 0; i < 700; ++i) {
                const auto name = "No Such Font " + std::to_string(thread) + std::to_string(i);
                found += catalog.font(name, 1) ? 1 : 0;
            }
            return found;
        }));
    }
    for (auto& thread : threads) {
        EXPECT_EQ(thread.get(), 0);
    }
}

} // namespace
} // namespace zelvane
