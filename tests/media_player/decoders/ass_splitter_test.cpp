// SPDX-License-Identifier: GPL-3.0-or-later
#include <string>
#include <vector>

#include <fmt/format.h>
#include <gtest/gtest.h>

#include "media_player/decoders/subtitles/ass_splitter.h"
#include "media_player/decoders/subtitles/ass_stock_form.h"

namespace zelvane {
namespace {

std::string orNone(const std::optional<std::string>& text) {
    return text.value_or("-");
}

/// The records of a script in a line: "info; styles; dialogs".
std::string split(std::string_view script) {
    const auto splitter = ASSSplitter::make(script);
    if (splitter == nullptr) {
        return "refused";
    }
    const auto& info = splitter->scriptInfo();
    std::string text = fmt::format("{}x{}", info.PlayResX, info.PlayResY);
    for (const auto& style : splitter->styles()) {
        text += fmt::format(" S:{},{},{},{:x},{},{}", orNone(style.Name), orNone(style.Fontname),
                            style.Fontsize, style.PrimaryColour, style.Alignment, style.Outline);
    }
    for (const auto& dialog : splitter->dialogs()) {
        text += fmt::format(" D:{},{},{},{},{},{}", dialog.Layer, dialog.Start, dialog.End,
                            orNone(dialog.Style), dialog.MarginV, orNone(dialog.Text));
    }
    return text;
}

TEST(ASSSplitter, makesRecordsOfTheLinesThatItKnows) {
    struct Case {
        std::string script;
        std::string records;
    };
    using namespace std::string_literals;
    const std::string events = "[Events]\nFormat: Style, Text\n";
    const std::vector<Case> cases{
        {"", "0x0"},
        {"[Script Info]\nPlayResX: 640\r\nPlayResY:480\n", "640x480"},
        {"[Script Info]\n; PlayResX: 1\n!: PlayResX: 2\nPlayResX: x\nUnknown: 3\n\nPlayResY\n:5\n",
         "0x0"},
        // A key may be abbreviated, and a number may be on the next line.
        {"[Script Info]\nPlayRes: 7\nPlayResY:\n\n 8\n", "7x8"},
        {"[Script Info]\nPlayResX: 99999999999\nPlayResY: -99999999999\n",
         "2147483647x-2147483648"},
        // Lines outside the known sections are ignored.
        {"PlayResX: 1\n[Other]\nPlayResX: 2\nStyle: a\n[Script Info]", "0x0"},
        {"[A name of many letters]\n[]\n[\n[Script Info\nPlayResX: 1\n[Script Info]\nPlayResX: 2\n",
         "2x0"},
        // Columns in the order of the table, in another, and unknown ones.
        {"[V4+ Styles]\nStyle: Main,Serif,20,&H80112233,255,0,0,-1,0,0,0,1,1,0,0,1,2.5,0,3\n",
         "0x0 S:Main,Serif,20,80112233,3,2.5"},
        {"[V4+ Styles]\nFormat: Outline, Nobody,Name , PrimaryColour\nFormat: Name\n"
         "Style: 1e1, x , a b,, 4294967295\n",
         "0x0 S:a b,-,0,ffffffff,0,10"},
        {"[V4+ Styles]\nFormat:\nStyle: a,b,1\nStyle:\nStyle: c",
         "0x0 S:a,b,1,0,0,0 S:-,-,0,0,0,0 S:c,-,0,0,0,0"},
        {"[V4+ Styles]\nFormat: Name, Fontname\nStyle: a, b, c, d\n", "0x0 S:a,b, c, d,0,0,0,0"},
        // SSA's alignments.
        {"[V4 Styles]\nFormat: Name, Alignment\nStyle: a,1\nStyle: b,6\nStyle: c,10\nStyle: d,11\n",
         "0x0 S:a,-,0,0,1,0 S:b,-,0,0,8,0 S:c,-,0,0,5,0 S:d,-,0,0,6,0"},
        // The last column may contain commas; blanks before it are ignored.
        {events + "Dialogue: a,  Hi, you \r\nComment: a,no\nDialogue: b\n",
         "0x0 D:0,0,0,a,0,Hi, you  D:0,0,0,b,0,-"},
        {"[Events]\nDialogue: 3,1:02:03.04,-1:00:00.00,St,Bob,1,2,9,fx,T\n",
         "0x0 D:3,372304,-360000,St,9,T"},
        {"[Events]\nFormat: Start, End, Text\nDialogue: 0:00:00:01,0:1:2.3,T\n"
         "Dialogue: 9999999999:00:00.00,0:00:100.00,U\n",
         "0x0 D:0,0,6203,-,0,T D:0,2147483647,0,-,0,U"},
        // A data line names its section.
        {"[V4+ Styles]\nFormat: Name\nStyle: a\nDialogue: 0,0:00:00.00,0:00:00.00,a\n",
         "0x0 S:a,-,0,0,0,0 D:0,0,0,a,0,-"},
        {"[Script Info]\nStyle: a\nPlayResX: 5\n", "0x0 S:a,-,0,0,0,0"},
        {"[Script Info]\nPlayResX: 5\n:\nPlayResX: 6\n", "5x0"},
        // Bytes of any kind, up to a NUL.
        {events + "Dialogue: \xff\xfe,{\\b1\nDialogue: a,\0b\nDialogue: c,d\n"s,
         "0x0 D:0,0,0,\xff\xfe,0,{\\b1 D:0,0,0,a,0,-"},
    };
    for (const auto& [script, records] : cases) {
        EXPECT_EQ(split(script), records) << script;
    }
}

TEST(ASSSplitter, laterTextContinuesTheHeader) {
    const auto splitter = ASSSplitter::make("[Events]\nFormat: Text, Style\n");
    ASSERT_NE(splitter, nullptr);
    const auto first = splitter->splitDialogs("Dialogue: one,A\nDialogue: two,B\n", false);
    ASSERT_EQ(first.size(), 2U);
    EXPECT_EQ(first[1].Text, "two");
    EXPECT_EQ(first[1].Style, "B");
    const auto added = splitter->splitDialogs("Dialogue: three,C\n", true);
    ASSERT_EQ(added.size(), 1U);
    EXPECT_EQ(added[0].Text, "three");
    EXPECT_EQ(splitter->dialogs().size(), 3U);
    EXPECT_TRUE(splitter->splitDialogs("no such line\n", false).empty());
    EXPECT_TRUE(splitter->dialogs().empty());
}

TEST(ASSSplitter, longInputTakesLinearTimeAndBoundedMemory) {
    const std::string longLine(1U << 20U, 'x');
    const std::string commas(1U << 20U, ',');
    const std::string blanks(1U << 20U, ' ');
    const std::string lines(1U << 20U, '\n');
    for (const std::string& filling : {longLine, commas, blanks, lines}) {
        const auto script = fmt::format(
            "[V4+ Styles]\nFormat: {0}\nStyle: {0}\n[Events]\n"
            "Dialogue: 0,0:00:00.00,1,Default,,0,0,0,,{0}\n[Script Info]\nPlayResX:{0}7\n",
            filling);
        const auto splitter = ASSSplitter::make(script);
        ASSERT_NE(splitter, nullptr);
        EXPECT_EQ(splitter->styles().size(), 1U);
        EXPECT_EQ(splitter->dialogs().size(), 1U);
    }
    std::string tooMany = "[Events]\n";
    for (std::size_t i = 0; i <= ASSSplitter::kMaximumRecordCount; ++i) {
        tooMany += "Dialogue:\n";
    }
    EXPECT_EQ(ASSSplitter::make(tooMany), nullptr);
}

TEST(ASSStockForm, headersKeepTheirStylesAndTheOrderOfTheirColumns) {
    struct Case {
        std::string header;
        std::string script;
    };
    using namespace std::string_literals;
    const std::string usual = "\n[Events]\nFormat: Layer, Start, End, Style, Name, MarginL, "
                              "MarginR, MarginV, Effect, Text\n";
    const std::string reordered = "\n[Events]\nFormat: Layer, Start, End, Text, Style\n";
    const std::vector<Case> cases{
        {"", usual},
        {"[V4+ Styles]\nx", "[V4+ Styles]\nx" + usual},
        {"\xef\xbb\xbf[V4+ Styles]\n\0[Events]\n"s, "[V4+ Styles]\n" + usual},
        {"a\n[events]\nFormat: Marked, Start, End,  Text, Style\r\n[Fonts]\nb", "a\n" + reordered},
        {"a\n[Events]\nformat: Layer, Start, End,  Text, Style", "a\n" + reordered},
        {"a\n[Events]\nFormat: Layer, Start\n", "a\n" + usual},
    };
    for (const auto& [header, script] : cases) {
        EXPECT_EQ(scriptHeader(header, ASSEventColumns::ofHeader), script) << header;
    }
}

TEST(ASSStockForm, containersHaveTheUsualColumns) {
    EXPECT_EQ(scriptHeader("[Events]\nFormat: Layer, Start, End, Text\n", ASSEventColumns::usual),
              "\n[Events]\nFormat: Layer, Start, End, Style, Name, MarginL, MarginR, MarginV, "
              "Effect, Text\n");
}

TEST(ASSStockForm, eventsBecomeDialogueLines) {
    EXPECT_EQ(dialogueLine("12,3,Sign,Bob,1,2,3,fade,a, b"),
              "Dialogue: 3,0:00:00.00,0:00:00.00,Sign,Bob,1,2,3,fade,a, b\n");
    EXPECT_EQ(dialogueLine("0,0,\r\nDialogue: 1"), "Dialogue: 0,0:00:00.00,0:00:00.00,\n");
    for (const char* event : {"", "0", "0,0", "\n0,0,Default"}) {
        EXPECT_EQ(dialogueLine(event), std::nullopt) << event;
    }
}

} // namespace
} // namespace zelvane
