// SPDX-License-Identifier: GPL-3.0-or-later
#include <atomic>
#include <ctime>
#include <functional>
#include <future>
#include <string>
#include <vector>

#include <fmt/format.h>
#include <gtest/gtest.h>

#include "core_media/ffmpeg_error.h"
#include "media_player/decoders/subtitles/ass_decoder.h"
#include "media_player/decoders/subtitles/ass_style_map.h"
#include "tests/media_player/decoders/fake_text_styling.h"
#include "tests/support/log_capture.h"
#include "text/font_catalog.h"

namespace zelvane {
namespace {

using test::FakeTextStyling;
using test::LogCapture;
using Alignment = SubtitleTextStyle::Alignment;

ASSStyleRecord record(const std::string& name) {
    ASSStyleRecord result;
    result.Name = name;
    result.Fontname = "Arial";
    result.Fontsize = 20;
    result.BorderStyle = 1;
    result.Alignment = 2;
    return result;
}

SubtitleTextStyle styleOf(const ASSStyleRecord& style,
                          std::optional<CGSize> container = CGSize{1280, 720}) {
    return makeASSStyleMap({style}, container, FakeTextStyling()).at(*style.Name);
}

TEST(ASSStyleMap, aStyleKeepsWhatARunOrALayoutCanExpress) {
    ASSStyleRecord main = record("Main");
    main.PrimaryColour = 0x7f0000ff;
    main.OutlineColour = 0x00ff0000;
    main.BackColour = 0x80000000;
    main.Bold = -1;
    main.Underline = -1;
    main.Italic = 1;
    main.Spacing = 1.5F;
    main.Outline = 2;
    main.Shadow = 3;
    main.MarginL = 10;
    main.MarginR = 11;
    main.MarginV = 12;
    const SubtitleTextStyle style = styleOf(main);

    const auto& attributes = style.textAttributes.underlyingTextAttributes;
    EXPECT_EQ(style.textAttributes.fontTraits, kBoldFontMask);
    EXPECT_EQ(attributes.font, FontCatalog::shared().helvetica(20).havingTraits(kBoldFontMask));
    EXPECT_EQ(attributes.foregroundColor, (SRGBColor{1, 0, 0, 1 - 127.0 / 255}));
    EXPECT_EQ(attributes.kern, 1.5);
    EXPECT_EQ(attributes.underlineStyle, 1);
    EXPECT_EQ(attributes.strikethroughStyle, std::nullopt);
    EXPECT_DOUBLE_EQ(*attributes.strokeWidth, -20);
    EXPECT_EQ(attributes.strokeColor, (SRGBColor{0, 0, 1, 1}));
    EXPECT_EQ(attributes.shadow, (TextShadow{{3, -3}, 0, SRGBColor{0, 0, 0, 1 - 128.0 / 255}}));
    EXPECT_EQ(style.containerInsets, (NSEdgeInsets{12, 10, 12, 11}));
    EXPECT_EQ(style.overlayStyle.backgroundColor.alpha, 0);
    EXPECT_FALSE(style.shouldRestrictOverridesToBasicAttributes);
    EXPECT_EQ(style.scalingInfo.initialBaseFontSize, 20);
    EXPECT_DOUBLE_EQ(style.scalingInfo.baseFontSizePercentageRelativeToVideoHeight,
                     20.0 / 720 * 100);
    EXPECT_EQ(style.scalingInfo.additionalFontSizeMultiplier, 1);
}

TEST(ASSStyleMap, bordersAreOutlineAndShadowOrABoxOrNothing) {
    ASSStyleRecord shadowOnly = record("a");
    shadowOnly.Shadow = 2;
    EXPECT_DOUBLE_EQ(*styleOf(shadowOnly).textAttributes.underlyingTextAttributes.strokeWidth, -10);

    ASSStyleRecord sizeless = record("a");
    sizeless.Fontsize = 0;
    sizeless.Outline = 2;
    EXPECT_EQ(styleOf(sizeless).textAttributes.underlyingTextAttributes.strokeWidth, 0);

    ASSStyleRecord box = record("a");
    box.BorderStyle = 3;
    box.Outline = 4;
    box.OutlineColour = 0x000000ff;
    const auto boxed = styleOf(box);
    EXPECT_EQ(boxed.overlayStyle,
              (SubtitleTextStyle::OverlayStyle{{4, 4}, 0, SRGBColor{1, 0, 0, 1}}));
    EXPECT_EQ(boxed.textAttributes.underlyingTextAttributes.strokeWidth, std::nullopt);

    ASSStyleRecord unknown = record("a");
    unknown.BorderStyle = 4;
    unknown.Outline = 4;
    EXPECT_EQ(styleOf(unknown).overlayStyle.insets, CGSize());
}

TEST(ASSStyleMap, alignmentIsTheColumnOfTheNumberPad) {
    for (int code = 1; code <= 9; ++code) {
        ASSStyleRecord style = record("a");
        style.Alignment = code;
        EXPECT_EQ(styleOf(style).alignmentInContainer, static_cast<Alignment>((code - 1) % 3))
            << code;
    }
    for (const int code : {0, 10, -1}) {
        ASSStyleRecord style = record("a");
        style.Alignment = code;
        try {
            styleOf(style);
            ADD_FAILURE() << code;
        } catch (const ASSDecodingError& error) {
            EXPECT_EQ(error, ASSDecodingError::invalidTextAlignmentValue(code));
        }
    }
}

TEST(ASSStyleMap, unusableSizesScaleByTheUsersStyle) {
    const std::vector<ASSScriptInfoRecord> infos{{{}, {}, 384, 288, 0}, {{}, {}, 640, 0, 0}, {}};
    for (const ASSScriptInfoRecord& info : infos) {
        EXPECT_EQ(styleOf(record("a"), originalContainerSize(info))
                      .scalingInfo.baseFontSizePercentageRelativeToVideoHeight,
                  5)
            << info.PlayResX << "x" << info.PlayResY;
    }
    EXPECT_EQ(originalContainerSize({{}, {}, 384, 289, 0}), (CGSize{384, 289}));
}

TEST(ASSStyleMap, namesAreUniqueAndDefaultIsAlwaysThere) {
    const FakeTextStyling styling;
    ASSStyleRecord nameless = record("");
    nameless.Name.reset();
    const auto map = makeASSStyleMap({record("a"), nameless}, std::nullopt, styling);
    EXPECT_EQ(map.size(), 2U);
    EXPECT_EQ(map.at("Default"), styling.style);
    try {
        makeASSStyleMap({record("a"), record("b"), record("a")}, std::nullopt, styling);
        ADD_FAILURE() << "two styles of one name were taken";
    } catch (const ASSDecodingError& error) {
        EXPECT_EQ(error, ASSDecodingError::duplicateStyleName("a"));
    }
}

/// A decoder with the styles "Default" (white, outline), "Loud" (bold, red, shadow) and "Box".
class ASSDecoderTest : public testing::Test {
  protected:
    static constexpr const char* kHeader =
        "[Script Info]\nPlayResX: 640\nPlayResY: 480\n[V4+ Styles]\n"
        "Format: Name, Fontsize, PrimaryColour, OutlineColour, BackColour, Bold, BorderStyle, "
        "Outline, Shadow, Alignment, MarginL, MarginR, MarginV\n"
        "Style: Default,20,&H00FFFFFF,&H00000000,&H0,0,1,1,0,2,10,11,12\n"
        "Style: Loud,30,&H400000FF,&H00000000,&H80112233,-1,1,1,2,7,1,1,1\n"
        "Style: Box,20,&H00FFFFFF,&H00000000,&H0,0,3,1,0,2,1,1,1\n"
        "[Events]\n";

    FormattedTextSubtitle decode(const std::string& text, const std::string& style = "Default") {
        ASSDialogRecord dialog;
        dialog.Style = style;
        dialog.Text = text;
        return decoder().formattedTextSubtitle(dialog);
    }
    ASSDecoder& decoder() {
        if (decoder_ == nullptr) {
            decoder_ = std::make_unique<ASSDecoder>(kHeader, ASSHeaderOrigin::script, styling_);
        }
        return *decoder_;
    }
    /// The attributes of the run that holds the last byte.
    StringAttributes last(const std::string& text, const std::string& style = "Default") {
        return decode(text, style).formattedText->runs().back().attributes;
    }

    std::shared_ptr<FakeTextStyling> styling_ = std::make_shared<FakeTextStyling>();
    std::unique_ptr<ASSDecoder> decoder_;
    LogCapture log_;
};

TEST_F(ASSDecoderTest, tagsChangeTheAttributesOfTheRunsAfterThem) {
    const Font font = *last("x").font;
    const auto italic = decode(R"({\i1}a{\i0}b)").formattedText;
    ASSERT_EQ(italic->runs().size(), 2U);
    EXPECT_EQ(italic->runs()[0].attributes.font, font.havingTraits(kItalicFontMask));
    EXPECT_EQ(italic->runs()[1].attributes, last("x"));
    EXPECT_EQ(decode(R"(a\Nb\nc{note}{})").formattedText->text(), "a\nb\nc{note}{}");
    EXPECT_EQ(decode("").formattedText->text(), "");

    struct Case {
        std::string text;
        std::string style;
        std::function<void(StringAttributes&)> change;
    };
    const SRGBColor red{1, 0, 0, 1};
    const double half = 1 - 128.0 / 255;
    const std::vector<Case> cases{
        {R"({\b1}x)", "Default", [](auto& a) { a.font->traits = kBoldFontMask; }},
        {R"({\b}x)", "Loud", [](auto&) {}},
        {R"({\b0}x)", "Loud", [](auto& a) { a.font->traits = 0; }},
        {R"({\b1\b}x)", "Default", [](auto&) {}},
        {R"({\u1\s1}x)", "Default", [](auto& a) { a.underlineStyle = a.strikethroughStyle = 1; }},
        {R"({\u1\u\s0}x)", "Default", [](auto& a) { a.underlineStyle = a.strikethroughStyle = 0; }},
        // The alpha of a colour tag never counts.
        {R"({\c&HFF0000FF&}x)", "Default", [&](auto& a) { a.foregroundColor = red; }},
        {R"({\c&H00FF00&}x)", "Loud",
         [](auto& a) {
             a.foregroundColor = SRGBColor{0, 1, 0, 1 - 64.0 / 255};
         }},
        {R"({\1c&H0000FF&\c}x)", "Default", [](auto&) {}},
        {R"({\2c&H0000FF&\2a&H80&}x)", "Default", [](auto&) {}},
        {R"({\3c&H0000FF&\3a&H80&}x)", "Default",
         [&](auto& a) { a.strokeColor = red.withAlpha(half); }},
        {R"({\3c&H0000FF&\3a&H80&\3c\3a}x)", "Default", [](auto&) {}},
        {R"({\3c&H0000FF&\3a&H80&}x)", "Box", [](auto&) {}},
        {R"({\4c&H0000FF&}x)", "Loud", [&](auto& a) { a.shadow->color = red.withAlpha(half); }},
        {R"({\4c&H0000FF&\4c\4a&HFF&\4a}x)", "Loud", [](auto&) {}},
        {R"({\4c&H0000FF&\4a&H80&}x)", "Default", [](auto&) {}},
        {R"({\alpha&HFF&}x)", "Default", [](auto& a) { a.foregroundColor->alpha = 0; }},
        {R"({\alpha&HFF&\1a}x)", "Loud", [](auto&) {}},
        {R"({\fs55}x)", "Default", [](auto& a) { a.font->pointSize = 55; }},
        {R"({\fs55\fs0}x)", "Default", [](auto&) {}},
        {R"({\fs55\fs-7}x)", "Default", [](auto&) {}},
        {R"({\fnNo Such Font 17}x)", "Default", [](auto&) {}},
        {R"({\fs55\fn}x)", "Default", [](auto& a) { a.font->pointSize = 55; }},
        {R"({\pos(10,10)\an8\a6\fad(1,2)}x)", "Default", [](auto&) {}},
        {R"({\b1\i1\fs9\r}x)", "Default", [](auto&) {}},
        {R"({\b1\rNobody}x)", "Default", [](auto&) {}},
    };
    for (const auto& [text, style, change] : cases) {
        StringAttributes expected = last("x", style);
        change(expected);
        EXPECT_EQ(last(text, style), expected) << text;
    }
    EXPECT_EQ(last(R"({\rLoud}x)"), last("x", "Loud"));
    EXPECT_EQ(decode(R"({\an7\rLoud}x)").style, decode("x").style);
}

TEST_F(ASSDecoderTest, anInstalledFontIsUsed) {
    const auto installed = FontCatalog::shared().font("DejaVu Sans Mono", 20);
    if (!installed) {
        GTEST_SKIP() << "SKIPPED: DejaVu Sans Mono is not installed";
    }
    EXPECT_EQ(last(R"({\b1\fnDejaVu Sans Mono}x)").font, installed->havingTraits(kBoldFontMask));
    EXPECT_EQ(last(R"({\fnDejaVu Sans Mono\fn}x)"), last("x"));
}

TEST_F(ASSDecoderTest, theLinesStyleAndMarginsMakeItsStyle) {
    ASSDialogRecord dialog;
    dialog.Style = "*Loud";
    EXPECT_EQ(decoder().formattedTextSubtitle(dialog).style, decode("", "Loud").style);
    dialog.Style = "Nobody";
    EXPECT_EQ(decoder().formattedTextSubtitle(dialog).style, decode("", "Default").style);
    dialog.Style.reset();
    dialog.MarginL = 5;
    dialog.MarginV = -7;
    const auto line = decoder().formattedTextSubtitle(dialog);
    EXPECT_EQ(line.style.containerInsets, (NSEdgeInsets{-7, 5, -7, 11}));
    EXPECT_EQ(line.formattedText->text(), "");
}

TEST_F(ASSDecoderTest, aMalformedBlockFailsTheLineAndInvalidBytesTheirRun) {
    for (const char* text : {R"({\b1)", R"(x{\b1 y}z)", R"({\b100}x)", R"({\)"}) {
        try {
            decode(text);
            ADD_FAILURE() << text;
        } catch (const FFmpegError& error) {
            EXPECT_EQ(error, FFmpegError::fromStatus(AVERROR_INVALIDDATA)) << text;
        }
    }
    EXPECT_EQ(log_.count("formattedTextSubtitle"), 4U);

    EXPECT_EQ(decode("a\\N\xff\xfe\\Nb").formattedText->text(), "a\n\nb");
    EXPECT_EQ(log_.count("ASS text bytes could not be interpreted as a string: "
                         "{length = 2, bytes = 0xfffe}."),
              1U);
}

TEST_F(ASSDecoderTest, theUsersStyleKeepsTheBasicAttributesOfTheFile) {
    styling_->isInForce = true;
    const auto loud = decode(R"({\fs80\c&H00FF00&\alpha&HFF&\3c&HFF&\fnDejaVu Sans\u1}x)", "Loud");
    StringAttributes expected = styling_->style.textAttributes.underlyingTextAttributes;
    expected.font->traits = kBoldFontMask;
    expected.underlineStyle = 1;
    expected.strikethroughStyle = 0;
    EXPECT_EQ(loud.formattedText->runs().back().attributes, expected);
    EXPECT_EQ(loud.style.alignmentInContainer, Alignment::left);
    EXPECT_EQ(loud.style.containerInsets, styling_->style.containerInsets);
    EXPECT_EQ(loud.style.scalingInfo, styling_->style.scalingInfo);

    expected.underlineStyle = 0;
    EXPECT_EQ(last(R"({\i1\rLoud}x)"), expected);
}

TEST_F(ASSDecoderTest, aChangeOfTheUsersStyleAppliesToTheNextLine) {
    EXPECT_NE(last("x").font->familyName, "User Sans");
    styling_->isInForce = true;
    styling_->notify();
    EXPECT_EQ(last("x").font->familyName, "User Sans");
    decoder_.reset();
    EXPECT_FALSE(styling_->hasObserver());
}

TEST_F(ASSDecoderTest, aLineCostsTwentyMicrosecondsAtMost) {
    constexpr int kLines = 20000;
#ifdef NDEBUG
    constexpr double kMicroseconds = 20;
#else
    constexpr double kMicroseconds = 400;
#endif
    ASSDecoder& events = decoder();
    std::size_t length = 0;
    const std::clock_t start = std::clock();
    for (int i = 0; i < kLines; ++i) {
        const auto line = fmt::format(
            "Dialogue: 0,0:00:00.00,0:00:00.00,Loud,,0,0,0,,"
            "{{\\pos({},20)\\c&H00FF00&\\fs40\\blur2}}A sign{{\\r}} and\\N{{\\i1}}words{{\\i0}}\n",
            i);
        for (const auto& dialog : events.splitDialogs(line)) {
            length += events.formattedTextSubtitle(dialog).formattedText->text().size();
        }
    }
    const double each = 1e6 * static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC / kLines;
    EXPECT_EQ(length, kLines * std::string("A sign and\nwords").size());
    EXPECT_LE(each, kMicroseconds);
    fmt::print("{:.2f} us for a line\n", each);
}

TEST_F(ASSDecoderTest, stylesMayChangeWhileLinesAreDecoded) {
    decoder();
    std::atomic<bool> isOver = false;
    auto changes = std::async(std::launch::async, [&] {
        int count = 0;
        for (; !isOver || count == 0; ++count) {
            styling_->notify();
        }
        return count;
    });
    for (int i = 0; i < 2000; ++i) {
        ASSERT_EQ(decode("{\\rLoud}x").formattedText->runs().size(), 1U);
    }
    isOver = true;
    EXPECT_GE(changes.get(), 1);
}

TEST_F(ASSDecoderTest, manyRunsTakeBoundedMemory) {
    std::string text;
    for (int i = 0; i < 50000; ++i) {
        text += i % 2 == 0 ? "{\\b1}x" : "{\\b0}y";
    }
    const auto line = decode(text).formattedText;
    EXPECT_EQ(line->text().size(), 50000U);
    EXPECT_LE(line->runs().size(), 4096U);
}

TEST_F(ASSDecoderTest, aHeaderThatFailsFailsTheDecoder) {
    const auto made = [&](const std::string& header, ASSHeaderOrigin origin) -> std::string {
        try {
            const ASSDecoder decoder(header, origin, styling_);
            return "made";
        } catch (const ASSDecodingError& error) {
            return error.what();
        }
    };
    std::string tooMany = "[V4+ Styles]\n";
    for (std::size_t i = 0; i <= ASSSplitter::kMaximumRecordCount; ++i) {
        tooMany += "Style:\n";
    }
    const std::string odd = "[V4+ Styles]\nFormat: Name, Alignment\nStyle: a,0\n";
    using enum ASSHeaderOrigin;
    EXPECT_EQ(made("", script), "made");
    EXPECT_EQ(made(tooMany, script), "invalidASSHeaderBytes");
    EXPECT_EQ(made(odd, script), "invalidTextAlignmentValue(0)");
    EXPECT_EQ(made(odd, madeByLibrary), "made");
    EXPECT_EQ(made(odd + "Style: a,1\n", madeByLibrary), "duplicateStyleName(\"a\")");
}

} // namespace
} // namespace zelvane
