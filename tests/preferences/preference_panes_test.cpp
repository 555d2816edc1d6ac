// SPDX-License-Identifier: GPL-3.0-or-later
#include <QAbstractButton>
#include <QAccessible>
#include <QCheckBox>
#include <QComboBox>
#include <QDialog>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QSet>
#include <QSpinBox>
#include <QToolButton>
#include <QTranslator>

#include <gmock/gmock.h>

#include "application/default_settings.h"
#include "foundation/playback_preferences.h"
#include "foundation/user_defaults.h"
#include "media_player/decoders/subtitles/subtitle_text_style_manager.h"
#include "player_window/controls/discrete_slider.h"
#include "preferences/caption_settings.h"
#include "preferences/general_preference_pane_view_controller.h"
#include "preferences/jump_interval_field.h"
#include "preferences/preferences.h"
#include "preferences/subtitles_preference_pane_view_controller.h"
#include "tests/player_window/window_test_support.h"
#include "tests/support/event_loop_queue.h"

namespace zelvane {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr auto kRateKey = "ZLVNDefaultPlaybackRate";
constexpr auto kJumpKey = "ZLVNJumpIntervalInSeconds";

TEST(JumpInterval, isTheNumberOfATextWithinItsLimits) {
    const std::pair<const char*, std::optional<double>> cases[] = {
        {"15", 15},
        {" 7.5\n", 7.5},
        {"500", 300},
        {"0.2", 1},
        {"-3", 1},
        {"", std::nullopt},
        {" \t", std::nullopt},
        {"ten", std::nullopt},
        {"nan", std::nullopt},
    };
    for (const auto& [text, seconds] : cases) {
        EXPECT_EQ(jumpIntervalOf(text, QLocale::c()), seconds) << text;
    }
}

class PanesTest : public testing::Test {
  protected:
    PanesTest() { registerDefaultSettings(defaults_); }

    template <class Control>
    static Control& control(const QWidget& pane, const QString& name) {
        for (auto* found : pane.findChildren<Control*>()) {
            const auto* button = qobject_cast<QAbstractButton*>(found);
            const QString title = button != nullptr ? button->text().remove('&') : QString();
            if (title == name || found->accessibleName().startsWith(name)) {
                return *found;
            }
        }
        throw std::runtime_error("no control " + name.toStdString());
    }
    static void type(QAbstractSpinBox& field, const QString& text) {
        field.findChild<QLineEdit*>()->setText(text);
        field.interpretText();
    }

    const test::EventLoopScope mainQueue_;
    UserDefaults defaults_;
};

TEST_F(PanesTest, theJumpFieldStoresWhatIsTypedWithinItsLimits) {
    const GeneralPreferencePaneViewController pane(defaults_, {});
    auto& field = *pane.findChild<JumpIntervalField*>();
    const struct {
        const char* typed;
        double stored;
        const char* shown;
    } cases[] = {{"500", 300, "300"}, {"0.2", 1, "1"},  {" 42.5 ", 42.5, "42.5"},
                 {"", 15, "15"},      {"30", 30, "30"}, {"  ", 15, "15"}};
    for (const auto& given : cases) {
        type(field, given.typed);
        EXPECT_EQ(defaults_.doubleForKey(kJumpKey), given.stored) << given.typed;
        EXPECT_EQ(field.text(), given.shown);
    }
    field.stepUp();
    EXPECT_EQ(defaults_.doubleForKey(kJumpKey), 16);
    field.findChild<QLineEdit*>()->setText("4");
    defaults_.set("ZLVNPlayAutomaticallyOnOpen", false);
    test::EventLoopScope::settle();
    EXPECT_EQ(field.text(), "4") << "another setting does not end typing";
}

TEST_F(PanesTest, showValuesOutsideTheirRangeClampedAndKeepThemStored) {
    const std::pair<DefaultsValue, const char*> intervals[] = {
        {500.0, "300"}, {-1.0, "1"}, {"nan", "1"}, {"none", "1"}, {2.25, "2.25"}};
    for (const auto& [stored, shown] : intervals) {
        defaults_.set(kJumpKey, stored);
        const GeneralPreferencePaneViewController pane(defaults_, {});
        EXPECT_EQ(pane.findChild<JumpIntervalField*>()->text(), shown);
        EXPECT_EQ(defaults_.value(kJumpKey), stored);
    }
    const std::pair<DefaultsValue, double> rates[] = {
        {1.1, 1}, {std::int64_t{1}, 1}, {9.0, 2}, {0.0, 0.5}, {"x", 0.5}};
    for (const auto& [stored, shown] : rates) {
        defaults_.set(kRateKey, stored);
        const GeneralPreferencePaneViewController pane(defaults_, {});
        auto& slider = *pane.findChild<DiscreteSlider*>();
        EXPECT_EQ(slider.items()[slider.selectedIndex()].value, shown);
        EXPECT_EQ(defaults_.value(kRateKey), stored);
    }
    defaults_.set(caption_keys::kRelativeCharacterSize, 99.0);
    defaults_.set(caption_keys::kTextEdgeStyle, std::int64_t{7});
    defaults_.set(caption_keys::kFontFamily, "No Such Font");
    const SubtitlesPreferencePaneViewController pane(defaults_, {[] {}, [] {}});
    EXPECT_EQ(control<QSpinBox>(pane, "Size of subtitles").value(), 400);
    EXPECT_EQ(pane.findChildren<QComboBox*>()[0]->currentText(), "No Such Font (not installed)");
    EXPECT_EQ(pane.findChildren<QComboBox*>()[1]->currentText(), "None");
}

TEST_F(PanesTest, theGeneralPaneStoresWhatIsChosenAndFollowsOtherWindows) {
    int styleChanges = 0;
    int announcements = 0;
    const auto observer = NotificationCenter::shared().addObserver(
        std::string(kAudioSpatializationAllowedDidChangeNotification), nullptr, nullptr,
        [&](const Notification&) { ++announcements; });
    const GeneralPreferencePaneViewController pane(
        defaults_,
        {.useOfOwnTextStyleDidChange = [&] { ++styleChanges; }, .canSpatializeAudio = true});
    const std::pair<const char*, const char*> boxes[] = {
        {"Start playback", "ZLVNPlayAutomaticallyOnOpen"},
        {"Enter full screen", "ZLVNEnterFullScreenAutomaticallyOnOpen"},
        {"Allow spatial audio", "ZLVNAllowAudioSpatialization"},
        {"Use my style for all subtitles", "ZLVNUseUserSpecifiedSubtitleTextStyle"}};
    for (const auto& [title, key] : boxes) {
        auto& box = control<QCheckBox>(pane, title);
        const bool before = defaults_.boolForKey(key);
        EXPECT_EQ(box.isChecked(), before) << title;
        box.click();
        EXPECT_EQ(defaults_.boolForKey(key), !before) << title;
        defaults_.set(key, before);
        EXPECT_TRUE(test::runUntil([&] { return box.isChecked() == before; })) << title;
    }
    EXPECT_EQ(styleChanges, 1);
    EXPECT_EQ(announcements, 1);
    auto& slider = *pane.findChild<DiscreteSlider*>();
    slider.select(4);
    EXPECT_EQ(defaults_.doubleForKey(kRateKey), 1.5);
    defaults_.set(kRateKey, 2.0);
    EXPECT_TRUE(test::runUntil([&] { return slider.selectedIndex() == 6; }));
}

TEST_F(PanesTest, theGeneralPaneHidesWhatTheSystemCannotDo) {
    class ManualUpdater final : public Updater {
      public:
        bool automaticallyChecksForUpdates() const override { return checks; }
        void setAutomaticallyChecksForUpdates(bool newChecks) override { checks = newChecks; }
        bool checks = true;
    };
    ManualUpdater updater;
    const GeneralPreferencePaneViewController bare(defaults_, {});
    EXPECT_EQ(bare.findChildren<QCheckBox*>().size(), 3);
    const GeneralPreferencePaneViewController pane(defaults_, {.updater = &updater});
    EXPECT_EQ(pane.findChildren<QCheckBox*>().size(), 4);
    control<QCheckBox>(pane, "Check for updates automatically").click();
    EXPECT_FALSE(updater.checks);
}

TEST_F(PanesTest, theSubtitlesPaneWritesTheCaptionAppearance) {
    int changes = 0;
    const SubtitlesPreferencePaneViewController pane(defaults_, {[&] { ++changes; }, [] {}});
    const CaptionAppearance appearance(defaults_, NotificationCenter::shared());
    control<QSpinBox>(pane, "Size of subtitles").setValue(150);
    control<QCheckBox>(pane, "Bold").click();
    control<QSpinBox>(pane, "Opacity of Background").setValue(50);
    control<QSpinBox>(pane, "Corner radius").setValue(4);
    auto& edges = *pane.findChildren<QComboBox*>()[1];
    edges.setCurrentIndex(3);
    emit edges.activated(3);
    EXPECT_EQ(appearance.relativeCharacterSize(), 1.5);
    EXPECT_EQ(appearance.font(12)->traits, kBoldFontMask);
    EXPECT_EQ(appearance.backgroundColor(), kBlackColor) << "an opacity needs a colour";
    EXPECT_EQ(appearance.backgroundOpacity(), 0.5);
    EXPECT_EQ(appearance.windowRoundedCornerRadius(), 4);
    EXPECT_EQ(appearance.textEdgeStyle(), 4);
    EXPECT_EQ(changes, 5);
    const auto look = [&] { return userSpecifiedTextStyle(appearance); };
    control<QCheckBox>(pane, "Subtitles for the deaf and hard of hearing").click();
    control<QAbstractButton>(pane, "Restore Defaults").click();
    const UserDefaults untouched;
    EXPECT_EQ(look(),
              userSpecifiedTextStyle(CaptionAppearance(untouched, NotificationCenter::shared())));
    EXPECT_TRUE(test::runUntil(
        [&] { return control<QSpinBox>(pane, "Size of subtitles").value() == 100; }));
    EXPECT_EQ(appearance.preferredCaptioningCharacteristics().size(), 2) << "no appearance";
}

TEST_F(PanesTest, theListOfLanguagesKeepsTheirOrder) {
    defaults_.set(caption_keys::kLanguages, std::vector<std::string>{"de", "en", "fr"});
    const SubtitlesPreferencePaneViewController pane(defaults_, {[] {}, [] {}});
    auto& list = *pane.findChild<QListWidget*>();
    const auto press = [&](int row, const char* button) {
        list.setCurrentRow(row);
        control<QAbstractButton>(pane, button).click();
        return defaults_.stringsForKey(caption_keys::kLanguages);
    };
    EXPECT_THAT(press(0, "Move Down"), ElementsAre("en", "de", "fr"));
    EXPECT_THAT(press(2, "Move Up"), ElementsAre("en", "fr", "de"));
    EXPECT_THAT(press(2, "Move Down"), ElementsAre("en", "fr", "de"));
    EXPECT_THAT(press(0, "Remove"), ElementsAre("fr", "de"));
    press(0, "Remove");
    EXPECT_THAT(press(0, "Remove"), IsEmpty());
    EXPECT_TRUE(test::runUntil([&] { return list.count() > 0; })) << "those of the system";
    EXPECT_THAT(withLanguage({"fr", "de"}, "de"), ElementsAre("fr", "de"));
    EXPECT_THAT(withLanguage({"fr"}, "de"), ElementsAre("fr", "de"));
}

TEST(CaptionSettings, keepOtherCharacteristics) {
    UserDefaults defaults;
    CaptionSettings settings(defaults, [] {});
    const auto set = [&](bool areWanted) {
        settings.setCharacteristics("list", {"a", "b"}, areWanted);
        return defaults.stringsForKey("list");
    };
    defaults.set("list", std::vector<std::string>{"x", "b"});
    EXPECT_THAT(set(true), ElementsAre("x", "a", "b"));
    EXPECT_THAT(set(false), ElementsAre("x"));
    settings.setColor(kCaptionTextColor, {1, 0.5, 0, 0.2});
    EXPECT_EQ(defaults.stringForKey(kCaptionTextColor.color), "#ff8000");
}

/// Makes each text longer, as other languages do.
class LongTranslation final : public QTranslator {
  public:
    QString translate(const char* /*context*/, const char* source, const char* /*comment*/,
                      int /*count*/) const override {
        const QString text = QString::fromUtf8(source);
        return text + QString((text.size() * 2 + 4) / 5, 'w');
    }
    bool isEmpty() const override { return false; }
};

TEST_F(PanesTest, canBeUsedByKeyboardAndByAssistiveTechnology) {
    defaults_.set("ZLVNShowDebugPreferencePane", true);
    const auto window = makePreferencesWindow(defaults_);
    const auto nameOf = [](QWidget* widget) {
        return QAccessible::queryAccessibleInterface(widget)->text(QAccessible::Name);
    };
    for (auto* pane : window->window().findChildren<PreferencePane*>()) {
        const std::string title = pane->windowTitle().toStdString();
        QSet<QString> mnemonics;
        for (auto* widget : pane->findChildren<QWidget*>()) {
            const QString text = widget->property("text").toString();
            const QString mnemonic = QKeySequence::mnemonic(text).toString();
            EXPECT_FALSE(!mnemonic.isEmpty() && mnemonics.contains(mnemonic))
                << title << ": " << text.toStdString();
            mnemonics << mnemonic;
            const bool isPart = qobject_cast<QAbstractSpinBox*>(widget->parentWidget());
            const bool isInPopup = widget->window() != &window->window();
            if (widget->focusPolicy() != Qt::NoFocus && !widget->focusProxy() && !isPart &&
                !isInPopup) {
                EXPECT_FALSE(nameOf(widget).isEmpty())
                    << title << ": " << widget->metaObject()->className();
            }
        }
    }
    for (auto* item : window->window().findChildren<QToolButton*>()) {
        EXPECT_FALSE(nameOf(item).isEmpty());
    }
}

TEST_F(PanesTest, haveRoomForTextsThatAreLonger) {
    LongTranslation translation;
    QCoreApplication::installTranslator(&translation);
    defaults_.set("ZLVNShowDebugPreferencePane", true);
    const auto window = makePreferencesWindow(defaults_);
    for (const char* pane : {"general", "subtitles", "picture", "debug"}) {
        window->showPane({pane});
        ASSERT_TRUE(test::runUntil([&] {
            const auto* shown = window->window().findChild<PreferencePane*>();
            for (auto* each : window->window().findChildren<PreferencePane*>()) {
                shown = each->isVisible() ? each : shown;
            }
            return shown->preferencePaneIdentifier().rawValue == pane && shown->isVisible();
        }));
        for (const auto* widget : window->window().findChildren<QWidget*>()) {
            const auto* label = qobject_cast<const QLabel*>(widget);
            const bool hasText = label != nullptr || qobject_cast<const QAbstractButton*>(widget);
            const int wanted = label != nullptr && label->wordWrap()
                                   ? label->heightForWidth(label->width())
                                   : widget->sizeHint().height();
            if (hasText && widget->isVisible()) {
                EXPECT_GE(widget->height(), wanted) << pane;
                EXPECT_GE(widget->width(),
                          label != nullptr && label->wordWrap() ? 0 : widget->sizeHint().width());
                EXPECT_LE(widget->mapTo(&window->window(), QPoint(widget->width(), 0)).x(),
                          window->window().width());
            }
        }
    }
    QCoreApplication::removeTranslator(&translation);
}

TEST_F(PanesTest, theDebugPaneExistsWhereItsSettingSaysSo) {
    for (const bool isShown : {false, true}) {
        defaults_.set("ZLVNShowDebugPreferencePane", isShown);
        const auto window = makePreferencesWindow(defaults_);
        EXPECT_EQ(window->window().findChildren<PreferencePane*>().size(), isShown ? 4 : 3);
    }
}

} // namespace
} // namespace zelvane
