// SPDX-License-Identifier: GPL-3.0-or-later
//
// Compares the scanner of override codes and the converters of fields with the C library's sscanf
// and the patterns that define them.

#include <array>
#include <cstdio>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include <fmt/format.h>
#include <gtest/gtest.h>

#include "media_player/decoders/subtitles/ass_override_scanner.h"
#include "media_player/decoders/subtitles/text_scanner.h"

namespace zelvane {
namespace {

/// Records the callbacks, as "name(values)".
class Recorder final : public ASSOverrideCallbacks {
  public:
    std::string events;

    void text(std::string_view bytes) override { events += fmt::format("text({})", bytes); }
    void newLine(bool forced) override { events += forced ? "N" : "n"; }
    void style(char tag, Switch value) override {
        constexpr std::array kNames{"on", "off", "reset"};
        events += fmt::format("{}({})", tag, kNames.at(static_cast<std::size_t>(value)));
    }
    void color(std::uint32_t color, int number) override {
        events += fmt::format("color({:x},{})", color, number);
    }
    void alpha(std::int32_t alpha, int number) override {
        events += fmt::format("alpha({},{})", alpha, number);
    }
    void fontName(std::string_view name) override { events += fmt::format("font({})", name); }
    void fontSize(std::int32_t size) override { events += fmt::format("size({})", size); }
    void alignment(std::int32_t code) override { events += fmt::format("an({})", code); }
    void cancelOverrides(std::string_view name) override {
        events += fmt::format("cancel({})", name);
    }
};

std::string scanned(std::string_view text) {
    Recorder recorder;
    const int status = scanOverrideCodes(recorder, text);
    return recorder.events + (status == 0 ? "" : "!");
}

TEST(ASSOverrideScanner, reportsTextAndCodesInOrder) {
    struct Case {
        std::string text;
        std::string events;
    };
    using namespace std::string_literals;
    const std::vector<Case> cases{
        {"", ""},
        {"plain", "text(plain)"},
        {R"(a\Nb\nc)", "text(a)Ntext(b)ntext(c)"},
        {R"(a\hb\x\)", R"(text(a\hb\x\))"},
        {"{note}{}{", "text({note}{}{)"},
        {R"({\b1}x{\b0}{\i}{\u1\s})", "b(on)text(x)b(off)i(reset)u(on)s(reset)"},
        {R"({\c}{\c&H0000FF&}{\1c&HFF&}{\2c}{\4c&H12345678&})",
         "color(ffffffff,0)color(ff,0)color(ff,1)color(ffffffff,2)color(12345678,4)"},
        {R"({\alpha}{\alpha&HFF&\3a&H80&\1a})", "alpha(-1,0)alpha(255,0)alpha(128,3)alpha(-1,1)"},
        {R"({\fnComic Sans MS\fs40}{\fn}{\fs}{\fs0})",
         "font(Comic Sans MS)size(40)font()size(-1)size(0)"},
        {R"({\fs-5}{\fs 20}{\fscx120}{\fs20.5})", "size(-5)size(20)"},
        {R"({\a6}{\a10}{\a}{\an8}{\an}{\a11})", "an(8)an(5)an(-1)an(8)an(-1)an(6)"},
        {R"({\r}{\rSign})", "cancel()cancel(Sign)"},
        {R"({\pos(10,20)\move(1,2,3,4)\move(1,2,3,4,5,6)\org(1,2)}x)", "text(x)"},
        {R"({\fad(1,2)\t(\b1)\p1}m 0 0{\blur2\kf20})", "b(on)!"},
        {R"({\p1}m 0 0 l 10 10{\p0})", "text(m 0 0 l 10 10)"},
        {R"({\b700}{\c&H12}{\\}x)", "text(x)"},
        // Blocks that are not closed, or hold more than tags.
        {R"({\b1)", "b(on)!"},
        {R"({\b100}x)", "b(on)!"},
        {R"(a{\b1 x}b)", "text(a)b(on)!"},
        {R"({\)", "!"},
        {R"({\i1}{\b1}{\)", "i(on)b(on)!"},
        // Names have at most 127 bytes; a NUL ends the text.
        {R"({\fn)" + std::string(127, 'x') + "}", "font(" + std::string(127, 'x') + ")"},
        {R"({\fn)" + std::string(128, 'x') + "}y", "text(y)"},
        {"a\0b"s, "text(a)"},
        {"{\\b1\0}"s, "b(on)!"},
        {"{\\fs99999999999999999999}x", "size(-1)text(x)"},
    };
    for (const auto& [text, events] : cases) {
        EXPECT_EQ(scanned(text), events) << text.substr(0, 60);
    }
}

TEST(ASSOverrideScanner, takesTimeInProportionToTheText) {
    constexpr std::size_t kRepeats = 50000;
    const auto repeated = [](std::string_view piece) {
        std::string text;
        for (std::size_t i = 0; i < kRepeats; ++i) {
            text += piece;
        }
        return text;
    };
    for (const char* piece : {"{", "\\", "}", "{{\\b1}", "{\\b1}x", "{}", "a\\N"}) {
        EXPECT_NE(scanned(repeated(piece)), "") << piece;
    }
    for (const char* piece : {"\\", "\\fs 1", "\\fn", "\\move(1", "\\c&H"}) {
        const std::string events = scanned("{" + repeated(piece));
        EXPECT_EQ(events.back(), '!') << piece;
    }
}

/// The tag step with sscanf itself.
class SscanfScanner {
  public:
    explicit SscanfScanner(Recorder& recorder) : recorder_(recorder) {}

    int scan(const char* text) {
        const char* run = nullptr;
        while (*text != 0) {
            char letter[2]{};
            const bool isNewLine = std::sscanf(text, "\\%1[nN]", letter) == 1;
            const bool isBlock = std::strncmp(text, "{\\", 2) == 0;
            if (run != nullptr && (isNewLine || isBlock)) {
                recorder_.text({run, static_cast<std::size_t>(text - run)});
                run = nullptr;
            }
            if (isNewLine) {
                recorder_.newLine(letter[0] == 'N');
                text += 2;
            } else if (isBlock) {
                for (++text; *text == '\\';) {
                    text += tag(text) - 1;
                }
                if (*text++ != '}') {
                    return -1;
                }
            } else {
                run = run == nullptr ? text : run;
                ++text;
            }
        }
        if (run != nullptr) {
            recorder_.text(run);
        }
        return 0;
    }

  private:
    using Switch = ASSOverrideCallbacks::Switch;

    // NOLINTBEGIN(cert-err34-c)
    int tag(const char* t) {
        char letter[2]{};
        char number[2] = "0";
        char end[2]{};
        char name[128]{};
        unsigned value = 0xffffffff;
        int length = 0;
        int a = 0;
        int b = 0;
        int c = 0;
        int d = 0;
        int e = 0;
        int f = 0;
        if (std::sscanf(t, "\\%1[bisu]%1[01\\}]%n", letter, number, &length) > 1) {
            const bool isDigit = number[0] == '0' || number[0] == '1';
            recorder_.style(letter[0], number[0] == '0'   ? Switch::off
                                       : number[0] == '1' ? Switch::on
                                                          : Switch::reset);
            return length + (isDigit ? 1 : 0);
        }
        if (std::sscanf(t, "\\c%1[\\}]%n", end, &length) > 0 ||
            std::sscanf(t, "\\c&H%X&%1[\\}]%n", &value, end, &length) > 1) {
            recorder_.color(value, 0);
            return length;
        }
        value = 0xffffffff;
        if (std::sscanf(t, "\\%1[1234]c%1[\\}]%n", number, end, &length) > 1 ||
            std::sscanf(t, "\\%1[1234]c&H%X&%1[\\}]%n", number, &value, end, &length) > 2) {
            recorder_.color(value, number[0] - '0');
            return length;
        }
        value = 0xffffffff;
        if (std::sscanf(t, "\\alpha%1[\\}]%n", end, &length) > 0 ||
            std::sscanf(t, "\\alpha&H%2X&%1[\\}]%n", &value, end, &length) > 1) {
            recorder_.alpha(static_cast<int>(value), 0);
            return length;
        }
        value = 0xffffffff;
        if (std::sscanf(t, "\\%1[1234]a%1[\\}]%n", number, end, &length) > 1 ||
            std::sscanf(t, "\\%1[1234]a&H%2X&%1[\\}]%n", number, &value, end, &length) > 2) {
            recorder_.alpha(static_cast<int>(value), number[0] - '0');
            return length;
        }
        value = 0xffffffff;
        if (std::sscanf(t, "\\fn%1[\\}]%n", end, &length) > 0) {
            recorder_.fontName("");
            return length;
        }
        if (std::sscanf(t, "\\fn%127[^\\}]%1[\\}]%n", name, end, &length) > 1) {
            recorder_.fontName(name);
            return length;
        }
        if (std::sscanf(t, "\\fs%1[\\}]%n", end, &length) > 0 ||
            std::sscanf(t, "\\fs%u%1[\\}]%n", &value, end, &length) > 1) {
            recorder_.fontSize(static_cast<int>(value));
            return length;
        }
        value = 0xffffffff;
        if (std::sscanf(t, "\\a%1[\\}]%n", end, &length) > 0) {
            recorder_.alignment(-1);
            return length;
        }
        if (std::sscanf(t, "\\a%2u%1[\\}]%n", &value, end, &length) > 1) {
            const auto an = static_cast<int>(value);
            recorder_.alignment((an & 3) + ((an & 4) != 0 ? 6 : (an & 8) != 0 ? 3 : 0));
            return length;
        }
        value = 0xffffffff;
        if (std::sscanf(t, "\\an%1[\\}]%n", end, &length) > 0 ||
            std::sscanf(t, "\\an%1u%1[\\}]%n", &value, end, &length) > 1) {
            recorder_.alignment(static_cast<int>(value));
            return length;
        }
        if (std::sscanf(t, "\\r%1[\\}]%n", end, &length) > 0) {
            recorder_.cancelOverrides("");
            return length;
        }
        std::memset(name, 0, sizeof name);
        if (std::sscanf(t, "\\r%127[^\\}]%1[\\}]%n", name, end, &length) > 1) {
            recorder_.cancelOverrides(name);
            return length;
        }
        if (std::sscanf(t, "\\move(%d,%d,%d,%d)%1[\\}]%n", &a, &b, &c, &d, end, &length) > 4 ||
            std::sscanf(t, "\\move(%d,%d,%d,%d,%d,%d)%1[\\}]%n", &a, &b, &c, &d, &e, &f, end,
                        &length) > 6 ||
            std::sscanf(t, "\\pos(%d,%d)%1[\\}]%n", &a, &b, end, &length) > 2 ||
            std::sscanf(t, "\\org(%d,%d)%1[\\}]%n", &a, &b, end, &length) > 2) {
            return length;
        }
        return static_cast<int>(std::strcspn(t + 1, "\\}")) + 2;
    }
    // NOLINTEND(cert-err34-c)

    Recorder& recorder_;
};

/// Texts of pieces that lie near what the patterns match.
class RandomText {
  public:
    std::string next() {
        constexpr std::array<const char*, 46> kPieces{
            "{\\",    "}",    "\\",    "\\b",  "\\i",      "\\u1",   "\\s0",   "\\c",
            "&H",     "&",    "\\1c",  "\\3c", "\\4a",     "\\2a",   "\\fn",   "\\fs",
            "\\a",    "\\an", "\\r",   "(",    ")",        ",",      "\\move", "\\pos",
            "0",      "1",    "12",    "7F",   "0x1F",     "-3",     "+4",     " ",
            "\t",     "\n",   "Arial", "x",    "\\N",      "\\n",    "\\h",    "\\org",
            "FFFFFF", "{",    "0x",    "\\t(", "\xc3\xa9", "\\alpha"};
        std::string text = "{\\";
        const int count = std::uniform_int_distribution<int>(1, 12)(random_);
        for (int i = 0; i < count; ++i) {
            text += kPieces.at(
                std::uniform_int_distribution<std::size_t>(0, kPieces.size() - 1)(random_));
        }
        return text;
    }

  private:
    std::mt19937 random_{20240229};
};

TEST(ASSOverrideScanner, agreesWithSscanf) {
    RandomText texts;
    for (int i = 0; i < 20000; ++i) {
        const std::string text = texts.next();
        Recorder expected;
        const int status = SscanfScanner(expected).scan(text.c_str());
        ASSERT_EQ(scanned(text), expected.events + (status == 0 ? "" : "!")) << text;
    }
}

TEST(TextScanner, readsNumbersAsSscanfDoes) {
    for (const char* text :
         {"12",     " -7,",    "+3x",         "-",          "",   "0x1F", "&H80FF", "1.5",
          " .5e1,", "-1e",     "1e+",         "0x1p3",      "5.", ".",    "x",      "00012",
          "\n\n9",  "1:02:03", "-2147483648", "4294967295", "-1"}) {
        // NOLINTBEGIN(cert-err34-c)
        int decimal = 99;
        unsigned wrapping = 99;
        unsigned hexadecimal = 99;
        float real = 99;
        const bool isDecimal = std::sscanf(text, "%2d", &decimal) == 1;
        const bool isWrapping = std::sscanf(text, "%u", &wrapping) == 1;
        const bool isHexadecimal = std::sscanf(text, "%8x", &hexadecimal) == 1;
        const bool isReal = std::sscanf(text, "%f", &real) == 1;
        // NOLINTEND(cert-err34-c)
        const auto orNone = [](auto value, bool is) {
            return is ? std::optional(value) : std::nullopt;
        };
        EXPECT_EQ(TextScanner(text).decimal(2), orNone(decimal, isDecimal)) << text;
        EXPECT_EQ(TextScanner(text).unsignedDecimal(), orNone(wrapping, isWrapping)) << text;
        EXPECT_EQ(TextScanner(text).hexadecimal(8), orNone(hexadecimal, isHexadecimal)) << text;
        EXPECT_EQ(TextScanner(text).floatingPoint(), orNone(real, isReal)) << text;
    }
}

TEST(TextScanner, numbersBeyondTheirTypeBecomeItsNearestValue) {
    const std::string endless(1000, '9');
    EXPECT_EQ(TextScanner(endless).decimal(), 2147483647);
    EXPECT_EQ(TextScanner("-" + endless).decimal(), -2147483647 - 1);
    EXPECT_EQ(TextScanner("-" + endless).unsignedDecimal(), 4294967295U);
    for (const char* text : {"inf", "nan", "1e99", "-1e99"}) {
        EXPECT_EQ(TextScanner(text).floatingPoint(), std::nullopt) << text;
    }
}

} // namespace
} // namespace zelvane
