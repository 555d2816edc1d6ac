// SPDX-License-Identifier: GPL-3.0-or-later
#include <string_view>

#include <gtest/gtest.h>

#include "foundation/character_encoding.h"
#include "foundation/text.h"
#include "media_player/media_source/bare_words.h"
#include "media_player/media_source/subtitles_text_file.h"
#include "media_player/media_source/text_encoding.h"
#include "media_player/media_source/text_plausibility.h"
#include "media_player/media_source/unicode_form.h"
#include "media_player/media_source/webvtt_blocks.h"
#include "tests/media_player/media_source/media_source_support.h"

namespace zelvane {
namespace {

using namespace std::string_view_literals;

struct KnownFile {
    const char* name;
    const char* encoding;
    std::size_t markSize = 0;
};

// The encodings that the files are known to be in; the text is right, not only the name.
const KnownFile kKnownFiles[] = {
    {"cdownsrt_gb2312.srt", "GB18030"},
    {"chardet_bom-utf-16-be.srt", "UTF-16BE", 2},
    {"chardet_bom-utf-16-le.srt", "UTF-16LE", 2},
    {"chardet_bom-utf-32-be.srt", "UTF-32BE", 4},
    {"chardet_bom-utf-32-le.srt", "UTF-32LE", 4},
    {"conv_ar_iso-8859-6.srt", "ISO-8859-6"},
    {"conv_ar_windows-1256.srt", "WINDOWS-1256"},
    {"conv_artplayer_ass_gb18030.ass", "GB18030"},
    {"conv_cn_gb18030.srt", "GB18030"},
    {"conv_ja_euc-jp.srt", "EUC-JP"},
    {"conv_ja_iso-2022-jp.srt", "ISO-2022-JP"},
    {"conv_ja_shift_jis.srt", "SHIFT_JIS"},
    {"conv_ja_utf-16be-nobom.srt", "UTF-16BE"},
    {"conv_ja_utf-16le-bom.srt", "UTF-16LE", 2},
    {"conv_ja_utf-8-bom.srt", "UTF-8", 3},
    {"conv_ru_ibm866.srt", "IBM866"},
    {"conv_ru_koi8-r.srt", "KOI8-R"},
    {"conv_ru_maccyrillic.srt", "MAC-CYRILLIC"},
    {"conv_ru_windows-1251.srt", "WINDOWS-1251"},
    {"conv_sv_macroman.srt", "MACINTOSH"},
    {"conv_sv_windows-1252.srt", "WINDOWS-1252"},
    {"srt2vtt_forced-cp1256.srt", "WINDOWS-1256"},
    {"srt2vtt_lfonly.srt", "ASCII"},
    {"srt2vtt_preserve-broken-utf8.srt", "UTF-8", 3},
    {"srt2vtt_understand-cp1252.srt", "WINDOWS-1252"},
    {"srt2vtt_utf16be.srt", "UTF-16BE", 2},
    {"srt2vtt_utf16le.srt", "UTF-16LE", 2},
    {"srt2vtt_utf32be.srt", "UTF-32BE", 4},
    {"srt2vtt_utf32le.srt", "UTF-32LE", 4},
    {"subtitleedit_auto_detect_Russian.srt", "UTF-8", 3},
    {"subtitleedit_auto_detect_windows-1250.srt", "WINDOWS-1250"},
    {"wrap_chardet_Big5.srt", "BIG5"},
    {"wrap_chardet_EUC-KR.srt", "EUC-KR"},
    {"wrap_chardet_EUC-TW.srt", "EUC-TW"},
    {"wrap_chardet_KOI8-R.srt", "KOI8-R"},
    {"wrap_chardet_SHIFT_JIS.srt", "SHIFT_JIS"},
    {"wrap_sample-greek.srt", "WINDOWS-1253"},
    {"wrap_sample-hebrew-2.srt", "WINDOWS-1255"},
    {"wrap_sample-korean.srt", "UHC"},
    {"wrap_sample-polish.srt", "UTF-8"},
    {"wrap_sample-turkish.srt", "ISO-8859-9"},
};

TEST(TextEncoding, isRightForEachKnownFile) {
    ZELVANE_NEEDS_SHARED_MEDIA(media);
    for (const KnownFile& known : kKnownFiles) {
        const auto path = media / "subtitles/encodings" / known.name;
        const auto text = readSubtitlesText(URL::fromPath(path));
        ASSERT_TRUE(text) << known.name;
        const std::string bytes = test::bytesOf(path).substr(known.markSize);
        EXPECT_EQ(text->text, decodedText(bytes, known.encoding).text)
            << known.name << " as " << text->encoding.value_or("nothing");
    }
}

TEST(TextEncoding, everyTextBecomesUTF8WithoutLosingALine) {
    ZELVANE_NEEDS_SHARED_MEDIA(media);
    int count = 0;
    for (const char* folder : {"subtitles/encodings", "subtitles/sides", "ass-scripts"}) {
        for (const auto& entry : std::filesystem::directory_iterator(media / folder)) {
            const auto text = readSubtitlesText(URL::fromPath(entry.path()));
            if (text) {
                EXPECT_TRUE(isValidUTF8(text->text)) << entry.path();
                EXPECT_EQ(text->text.find('\0'), std::string::npos) << entry.path();
                ++count;
            }
        }
    }
    EXPECT_GT(count, 200);
}

TEST(TextEncoding, ofShortAndDamagedTexts) {
    struct Case {
        std::string_view bytes;
        std::optional<std::string> encoding;
    };
    const Case cases[] = {
        {"", std::nullopt},
        {" \r\n\n", std::nullopt},
        {"1\n00:00 --> 00:01\nplain\n", "ASCII"},
        {"Gr\xc3\xbc\xc3\x9f\x65\n", "UTF-8"},
        // One damaged character among many does not change the encoding.
        {"\xc3\xa4\xc3\xb6\xc3\xbc\xc3\x9f\xc3\xa4\xc3\xb6\xc3\xbc\xc3\x9f\xc3\xa4 \xff\n",
         "UTF-8"},
        {"sm\x8arg\x8cs, k\x9ar p\x8c v\x8agen n\x8ar du f\x8cr\n", "MACINTOSH"},
    };
    for (const Case& c : cases) {
        TextEncodingEvidence evidence;
        EXPECT_TRUE(evidence.add(c.bytes));
        EXPECT_EQ(evidence.encoding(), c.encoding) << c.bytes;
    }
}

TEST(TextEncoding, theUnicodeFormIsDetectedByMarkOrLines) {
    struct Case {
        std::string_view bytes;
        std::string_view encoding;
        std::size_t markSize;
    };
    const Case cases[] = {
        {"\xef\xbb\xbf"
         "a"sv,
         "UTF-8", 3},
        {"\xff\xfe\0\0"sv, "UTF-32LE", 4},
        {"\xff\xfe"
         "a\0"sv,
         "UTF-16LE", 2},
        {"1\0\n\0"sv, "UTF-16LE", 0},
        {"\0"
         "1\0\n"sv,
         "UTF-16BE", 0},
        {"1\0\0\0\n\0\0\0"sv, "UTF-32LE", 0},
        {"\0\0\0"
         "1\0\0\0\n"sv,
         "UTF-32BE", 0},
        // Neither eight-bit text, nor text with a NUL in it, nor binary data.
        {"1\n2\n\n\r\n"sv, "", 0},
        {"1\n\0\0\n"sv, "", 0},
        {"\0\0\0\x18"
         "ftypmp42\n\0"sv,
         "", 0},
        {""sv, "", 0},
    };
    for (const Case& c : cases) {
        const auto form = unicodeForm(c.bytes);
        EXPECT_EQ(form ? form->encoding : "", c.encoding) << testing::PrintToString(c.bytes);
        EXPECT_EQ(form ? form->markSize : 0, c.markSize) << testing::PrintToString(c.bytes);
    }
}

TEST(TextEncoding, statisticsUseTheBareWords) {
    struct Case {
        std::string_view bytes;
        std::string_view words;
    };
    const Case cases[] = {
        {"1\n00:00:01,000 --> 00:00:02,000\n", ""},
        {"plain\n<i>\xe4 9</i>\n", " \xe4  \n"},
        {"Dialogue: 0,0,0,D\xe9"
         "faut,,0,0,0,,{\\pos(1,2)}\xe9t\xe9\n",
         " \xe9t\xe9\n"},
        // The byte after a high byte may belong to it: here the halves of Shift_JIS and GB18030.
        {"\x83{\x81\x30\x81\x30\n", "\x83{\x81\x30\x81\x30\n"},
        {"\x1b$B<{\x1b(B\n", "\x1b$B<{\x1b(B\n\n"},
    };
    for (const Case& c : cases) {
        std::string words;
        appendBareWords(c.bytes, words);
        EXPECT_EQ(words, c.words) << c.bytes;
    }
}

TEST(TextEncoding, unusualTextIsOdd) {
    EXPECT_EQ(oddness("Smörgås, l’été, Łódź, Ελλάδα, Россия", "UTF-8"), 0);
    EXPECT_EQ(oddness("こんにちは、世界", "EUC-JP"), 0);
    EXPECT_EQ(oddness("我们是在这个地方", "GB18030"), 0);
    for (const char* odd : {"Smšrg\u008cs", "pŒ gŠr", "aя", "sm‰rgÂs", "\xef\xbf\xbd"}) {
        EXPECT_GT(oddness(odd, "WINDOWS-1252"), 0.3) << odd;
    }
    EXPECT_GT(oddness("低議兆忖頁低頁豊", "EUC-JP"), 0.3);
    EXPECT_GT(oddness("低議兆忖頁低頁豊", "UHC"), 0.3);
}

TEST(WebVTTBlocks, areRemovedAndTheCuesKept) {
    struct Case {
        std::string_view text;
        std::string_view kept;
    };
    const Case cases[] = {
        {"WEBVTT\n\nSTYLE\n::cue { color: red }\n\n00:01.000 --> 00:02.000\nSTYLE\n",
         "WEBVTT\n\n\n00:01.000 --> 00:02.000\nSTYLE\n"},
        {"WEBVTT\r\n\r\nREGION \t\r\nid:a\r\n\r\nSTYLE\r\nx\r\n\r\nNOTE\r\nn\r\n",
         "WEBVTT\r\n\r\n\r\n\r\nNOTE\r\nn\r\n"},
        {"1\n\nSTYLE\nno WebVTT\n", "1\n\nSTYLE\nno WebVTT\n"},
        {"WEBVTT\n\nSTYLE", "WEBVTT\n\n"},
    };
    for (const Case& c : cases) {
        std::string text(c.text);
        removeWebVTTBlocks(text);
        EXPECT_EQ(text, c.kept);
    }
}

} // namespace
} // namespace zelvane
