// SPDX-License-Identifier: GPL-3.0-or-later
#include "foundation/character_encoding.h"

#include <gtest/gtest.h>

#include "foundation/error.h"
#include "foundation/text.h"

namespace zelvane {
namespace {

TEST(CharacterEncoding, decodesTheVariantThatIsUsedInPractice) {
    struct Case {
        std::string_view bytes;
        std::string_view encoding;
        std::string_view text;
    };
    const Case cases[] = {
        {"\x93quoted\x94", "ISO-8859-1", "“quoted”"},
        {"\x87\x40", "SHIFT_JIS", "①"},
        {"\xc5WES\xd8M", "WINDOWS-1252", "ÅWESØM"},
        {"\x1b$B$3$s\x1b(B!", "ISO-2022-JP", "こん!"},
        {"", "UTF-16LE", ""},
    };
    for (const Case& c : cases) {
        const DecodedText decoded = decodedText(c.bytes, c.encoding);
        EXPECT_EQ(decoded.text, c.text) << c.encoding;
        EXPECT_EQ(decoded.malformedCount, 0U) << c.encoding;
    }
}

TEST(CharacterEncoding, replacesOnlyTheMalformedBytes) {
    const DecodedText decoded = decodedText("gr\xffn\xc3", "UTF-8");
    EXPECT_EQ(decoded.text, "gr\xef\xbf\xbdn\xef\xbf\xbd");
    EXPECT_EQ(decoded.malformedCount, 2U);
    using namespace std::string_view_literals;
    EXPECT_EQ(decodedText("a\0\0\xd8z\0"sv, "UTF-16LE").text, "a\xef\xbf\xbdz");
}

TEST(CharacterEncoding, rejectsCodePointsThatAreNoCharacters) {
    for (const std::string_view bytes : {"a\xf4\x90\x80\x80z", "a\xf7\xbf\xbf\xbfz",
                                         "a\xed\xa0\x80z", "a\xfc\x84\x80\x80\x80\x80z"}) {
        const DecodedText decoded = decodedText(bytes, "UTF-8");
        EXPECT_TRUE(isValidUTF8(decoded.text));
        EXPECT_EQ(decoded.text.front(), 'a');
        EXPECT_EQ(decoded.text.back(), 'z');
        EXPECT_GE(decoded.malformedCount, 1U);
    }
}

TEST(CharacterEncoding, rejectsAnUnknownName) {
    EXPECT_FALSE(isKnownCharacterEncoding("unknown name"));
    EXPECT_TRUE(isKnownCharacterEncoding("SHIFT_JIS"));
    EXPECT_THROW(decodedText("text", "unknown name"), SystemError);
}

} // namespace
} // namespace zelvane
