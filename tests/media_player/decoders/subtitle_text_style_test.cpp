// SPDX-License-Identifier: GPL-3.0-or-later
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>

#include <gtest/gtest.h>

#include "foundation/locale.h"
#include "media_player/decoders/subtitles/caption_appearance.h"
#include "media_player/decoders/subtitles/subtitle_text_style_manager.h"
#include "tests/support/log_capture.h"
#include "text/font_catalog.h"

namespace zelvane {
namespace {

using Alignment = SubtitleTextStyle::Alignment;

/// Settings in memory and the objects that use them.
class Captions {
  public:
    Captions() = default;
    ~Captions() { settle(); }
    Captions(const Captions&) = delete;
    Captions& operator=(const Captions&) = delete;

    static void settle() { EXPECT_TRUE(dispatch::waitForQuiescence(std::chrono::seconds(20))); }
    /// Writes a setting as its pane would.
    void set(std::string_view key, const std::optional<DefaultsValue>& value) {
        defaults.set(key, value);
        appearance.settingsDidChange();
    }
    StringAttributes attributes() const {
        return userSpecifiedTextStyle(appearance).textAttributes.underlyingTextAttributes;
    }

    UserDefaults defaults;
    NotificationCenter center;
    CaptionAppearance appearance{defaults, center};
    std::atomic<int> changeCount{0};
    NotificationObserver changeObserver = center.addObserver(
        std::string(SubtitleTextStyleManager::kUserSpecifiedTextStyleDidChangeNotification),
        nullptr, nullptr, [this](const Notification&) { ++changeCount; });
    std::shared_ptr<SubtitleTextStyleManager> manager =
        SubtitleTextStyleManager::create(appearance, defaults, center);
};

SubtitleTextStyle redBold() {
    SubtitleTextStyle style;
    auto& text = style.textAttributes;
    text.fontTraits = kBoldFontMask;
    text.setFont(FontCatalog::shared().helvetica(40));
    text.underlyingTextAttributes.foregroundColor = SRGBColor{1, 0, 0, 1};
    text.underlyingTextAttributes.underlineStyle = 1;
    style.alignmentInContainer = Alignment::right;
    style.containerInsets = {1, 2, 3, 4};
    return style;
}

TEST(CaptionAppearance, withoutSettingsIsWhiteWithAThinDarkOutline) {
    const Captions captions;
    const SubtitleTextStyle style = captions.manager->userSpecifiedStyle();
    const StringAttributes& text = style.textAttributes.underlyingTextAttributes;
    EXPECT_EQ(text.font, FontCatalog::shared().systemFont(12));
    EXPECT_EQ(text.foregroundColor, kWhiteColor);
    EXPECT_EQ(text.backgroundColor, std::nullopt);
    EXPECT_EQ(text.strokeColor, kBlackColor);
    EXPECT_DOUBLE_EQ(text.strokeWidth.value(), -5.55556);
    EXPECT_TRUE(text.shadow);
    EXPECT_EQ(style.overlayStyle.backgroundColor, kBlackColor.withAlpha(0));
    EXPECT_EQ(style.containerInsets, (NSEdgeInsets{12, 12, 12, 12}));
    EXPECT_EQ(style.scalingInfo, (SubtitleTextStyle::ScalingInfo{12, 5, 1}));
    EXPECT_TRUE(style.shouldRestrictOverridesToBasicAttributes);
    EXPECT_EQ(captions.appearance.selectedLanguages(), preferredLanguagesFromEnvironment());
}

TEST(CaptionAppearance, eachSettingHasAnEffect) {
    Captions captions;
    captions.set("ZLVNCaptionFontFamily", std::string("DejaVu Sans Mono"));
    captions.set("ZLVNCaptionFontBold", true);
    captions.set("ZLVNCaptionForegroundColor", std::string("#ff8000"));
    captions.set("ZLVNCaptionForegroundOpacity", 0.5);
    captions.set("ZLVNCaptionBackgroundColor", std::string("#0000FF"));
    captions.set("ZLVNCaptionBackgroundOpacity", std::string("0.25"));
    captions.set("ZLVNCaptionWindowColor", std::string("#00ff00"));
    captions.set("ZLVNCaptionWindowOpacity", 1.0);
    captions.set("ZLVNCaptionWindowRoundedCornerRadius", 4.0);
    captions.set("ZLVNCaptionRelativeCharacterSize", 1.5);
    captions.set("ZLVNCaptionLanguages", std::vector<std::string>{"ger", "", "en_us"});
    const SubtitleTextStyle style = captions.manager->userSpecifiedStyle();
    const StringAttributes& text = style.textAttributes.underlyingTextAttributes;
    EXPECT_EQ(text.font, (Font{"DejaVu Sans Mono", 12, kBoldFontMask}));
    EXPECT_EQ(style.textAttributes.fontTraits, kBoldFontMask);
    EXPECT_EQ(text.foregroundColor, (SRGBColor{1, 128 / 255.0, 0, 0.5}));
    EXPECT_EQ(text.backgroundColor, (SRGBColor{0, 0, 1, 0.25}));
    EXPECT_EQ(style.overlayStyle.backgroundColor, (SRGBColor{0, 1, 0, 1}));
    EXPECT_EQ(style.overlayStyle.cornerRadius, 4);
    EXPECT_EQ(style.scalingInfo.additionalFontSizeMultiplier, 1.5);
    EXPECT_EQ(captions.appearance.selectedLanguages(), (std::vector<std::string>{"de", "en-US"}));
}

TEST(CaptionAppearance, invalidSettingsCountAsAbsent) {
    Captions captions;
    for (const char* color : {"red", "#12345", "#12345g", "#1234567", "", "#-12345"}) {
        captions.defaults.set("ZLVNCaptionForegroundColor", std::string(color));
        EXPECT_EQ(captions.attributes().foregroundColor, kWhiteColor) << color;
    }
    captions.defaults.set("ZLVNCaptionFontFamily", std::string("no such family"));
    EXPECT_EQ(captions.attributes().font, FontCatalog::shared().systemFont(12));
    captions.defaults.set("ZLVNCaptionRelativeCharacterSize", 1e9);
    EXPECT_EQ(captions.appearance.relativeCharacterSize(), 4);
    captions.defaults.set("ZLVNCaptionForegroundOpacity", -3.0);
    EXPECT_EQ(captions.appearance.foregroundOpacity(), 0);
    captions.defaults.set("ZLVNCaptionWindowOpacity", std::numeric_limits<double>::quiet_NaN());
    EXPECT_EQ(captions.appearance.windowOpacity(), 0);
}

TEST(CaptionAppearance, edgesAreStrokesOrShadows) {
    constexpr double k = 12 * 0.0882353;
    struct Case {
        std::int64_t edge;
        std::optional<double> stroke;
        std::optional<CGSize> shadowOffset;
    };
    const Case cases[] = {
        {0, std::nullopt, std::nullopt},  {1, std::nullopt, std::nullopt},
        {2, std::nullopt, CGSize{-k, k}}, {3, std::nullopt, CGSize{k, -k}},
        {4, -19.44444, std::nullopt},     {5, -5.55556, CGSize{0, 0}},
    };
    const test::LogCapture log;
    Captions captions;
    for (const Case& c : cases) {
        captions.defaults.set("ZLVNCaptionTextEdgeStyle", c.edge);
        const StringAttributes text = captions.attributes();
        EXPECT_EQ(text.strokeWidth, c.stroke) << c.edge;
        EXPECT_EQ(text.shadow ? std::optional(text.shadow->offset) : std::nullopt, c.shadowOffset)
            << c.edge;
    }
    EXPECT_EQ(log.count("Unhandled"), 0U);
    captions.defaults.set("ZLVNCaptionTextEdgeStyle", std::int64_t{7});
    EXPECT_EQ(captions.attributes().strokeWidth, std::nullopt);
    // Once for this test, and perhaps once for an update of the manager.
    EXPECT_GE(log.count("Unhandled caption text edge style: 7."), 1U);
}

TEST(SubtitleTextStyleManager, theUsersStyleReplacesTheFilesStyleIfEnabled) {
    Captions captions;
    const SubtitleTextStyle style = redBold();
    EXPECT_EQ(captions.manager->effectiveStyle(style), style);

    captions.defaults.set(kUseUserSpecifiedSubtitleTextStyleKey, true);
    const SubtitleTextStyle mine = captions.manager->effectiveStyle(style);
    const StringAttributes& text = mine.textAttributes.underlyingTextAttributes;
    EXPECT_EQ(text.foregroundColor, kWhiteColor);
    EXPECT_EQ(text.font, FontCatalog::shared().systemFont(12).havingTraits(kBoldFontMask));
    EXPECT_EQ(text.underlineStyle, 1);
    EXPECT_EQ(text.strikethroughStyle, 0);
    EXPECT_EQ(mine.alignmentInContainer, Alignment::right);
    EXPECT_EQ(mine.containerInsets, (NSEdgeInsets{12, 12, 12, 12}));
}

TEST(SubtitleTextStyleManager, postsTheNotificationOnlyWhenAStyleChanged) {
    Captions captions;
    Captions::settle();
    EXPECT_EQ(captions.changeCount, 0) << "the first update";
    captions.appearance.settingsDidChange();
    captions.manager->useOfUserSpecifiedStyleDidChange();
    Captions::settle();
    EXPECT_EQ(captions.changeCount, 0) << "settings written again";
    captions.set("ZLVNCaptionFontBold", true);
    Captions::settle();
    EXPECT_EQ(captions.changeCount, 1);
    captions.defaults.set(kUseUserSpecifiedSubtitleTextStyleKey, true);
    captions.manager->useOfUserSpecifiedStyleDidChange();
    Captions::settle();
    EXPECT_EQ(captions.changeCount, 2);
}

TEST(SubtitleTextStyleUpdateNotifier, decodersAreNotifiedBeforePlayers) {
    Captions captions;
    const auto notifier =
        SubtitleTextStyleUpdateNotifier::create(*captions.manager, captions.center);
    Captions::settle();
    std::mutex mutex;
    std::string order;
    const auto noting = [&](char letter) {
        return [&, letter] {
            // Observers read the new style.
            const auto style = captions.manager->userSpecifiedStyle();
            EXPECT_EQ(style.scalingInfo.additionalFontSizeMultiplier, 2);
            const std::lock_guard guard(mutex);
            order += letter;
        };
    };
    const auto player = notifier->addMediaPlayerObserver(noting('p'));
    const auto decoder = notifier->addDecoderObserver(noting('d'));
    auto gone = notifier->addDecoderObserver(noting('g'));
    gone.reset();
    captions.set("ZLVNCaptionRelativeCharacterSize", 2.0);
    Captions::settle();
    EXPECT_EQ(order, "dp");
}

TEST(SubtitleTextStyleUpdateNotifier, observersMayBeAddedAndRemovedDuringANotification) {
    Captions captions;
    const auto notifier =
        SubtitleTextStyleUpdateNotifier::create(*captions.manager, captions.center);
    Captions::settle();
    int added = 0;
    std::vector<std::shared_ptr<SubtitleTextStyleUpdateNotifier::ObserverContext>> contexts;
    contexts.push_back(notifier->addDecoderObserver([&] {
        contexts.push_back(notifier->addMediaPlayerObserver([&] { ++added; }));
        contexts.front().reset();
    }));
    captions.set("ZLVNCaptionFontBold", true);
    Captions::settle();
    EXPECT_EQ(added, 0) << "an observer added during a notification is called by the next";
    captions.set("ZLVNCaptionFontBold", false);
    Captions::settle();
    EXPECT_EQ(added, 1);
    EXPECT_EQ(contexts.size(), 2U) << "a removed observer is not called again";
}

} // namespace
} // namespace zelvane
