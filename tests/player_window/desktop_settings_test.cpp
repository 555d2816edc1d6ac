// SPDX-License-Identifier: GPL-3.0-or-later
#include <QDBusArgument>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusVariant>
#include <QDBusVirtualObject>
#include <QMouseEvent>

#include <gtest/gtest.h>

#include "player_window/controls/control_button.h"
#include "player_window/controls/control_colors.h"
#include "player_window/desktop/desktop_settings.h"
#include "player_window/window/media_player_window.h"
#include "tests/player_window/private_bus.h"
#include "tests/player_window/window_test_support.h"

namespace zelvane {
namespace {

constexpr auto kTitleBarSettings = "org.gnome.desktop.wm.preferences";
constexpr auto kKdeGroup = "org.kde.kdeglobals.KDE";
constexpr auto kPortalPath = "/org/freedesktop/portal/desktop";
constexpr auto kSettingsInterface = "org.freedesktop.portal.Settings";

/// Answers ReadAll in this thread: a caller that waits would get no answer.
class SettingsPortal final : public QDBusVirtualObject {
  public:
    explicit SettingsPortal(QDBusConnection bus) : bus_(std::move(bus)) {
        qDBusRegisterMetaType<QMap<QString, QVariantMap>>();
        bus_.registerVirtualObject(kPortalPath, this);
    }
    void start() { bus_.registerService("org.freedesktop.portal.Desktop"); }
    void set(const QString& key, const QVariant& value) { settings_[key] = value; }
    void announce(const QString& key, const QVariant& value) {
        QDBusMessage signal =
            QDBusMessage::createSignal(kPortalPath, kSettingsInterface, "SettingChanged");
        signal << kTitleBarSettings << key << QVariant::fromValue(QDBusVariant(value));
        bus_.send(signal);
    }

    QString introspect(const QString& /*path*/) const override { return {}; }
    bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override {
        if (message.interface() != kSettingsInterface || message.member() != "ReadAll" ||
            !message.arguments().value(0).toStringList().contains(kTitleBarSettings)) {
            return false;
        }
        const QMap<QString, QVariantMap> groups{{kTitleBarSettings, settings_}};
        return connection.send(message.createReply(QVariant::fromValue(groups)));
    }

  private:
    QDBusConnection bus_;
    QVariantMap settings_;
};

TEST(DesktopSettings, followThePortalWithoutWaitingForIt) {
    const test::PrivateBus bus;
    const DesktopSettings settings(bus.connection("desktop"));
    EXPECT_EQ(settings.preferences(), DesktopPreferences());
    SettingsPortal portal(bus.connection("portal"));
    portal.set("button-layout", "close:");
    portal.set("action-double-click-titlebar", 7);
    portal.start();
    const auto click = [&] { return settings.preferences().doubleClick; };
    EXPECT_TRUE(test::runUntil([&] {
        return settings.preferences().buttonLayout == ButtonLayout{{WindowButton::close}, {}};
    }));
    EXPECT_EQ(click(), TitleClickAction::toggleMaximized) << "the value is no text";
    portal.announce("action-double-click-titlebar", "minimize");
    EXPECT_TRUE(test::runUntil([&] { return click() == TitleClickAction::minimize; }));
}

TEST(DesktopSettings, areTheDefaultsWithoutABus) {
    EXPECT_EQ(DesktopSettings(QDBusConnection("none")).preferences(), DesktopPreferences());
}

TEST(DesktopPreferences, dependOnTheSettingsOfTheDesktop) {
    using P = DesktopPreferences;
    const QVariant wrapped =
        QVariant::fromValue(QDBusVariant(QVariant::fromValue(QDBusVariant(false))));
    const struct {
        const char* group;
        const char* key;
        QVariant value;
        P preferences;
    } cases[] = {
        {"org.gnome.desktop.a11y.interface", "high-contrast", true, {.increasesContrast = true}},
        {"org.gnome.desktop.interface", "enable-animations", false, {.reducesMotion = true}},
        {"org.gnome.desktop.interface", "enable-animations", "false", {}},
        {"org.gnome.desktop.interface", "high-contrast", true, {}},
        {"org.gnome.desktop.interface", "enable-animations", wrapped, {.reducesMotion = true}},
        {"org.freedesktop.appearance", "contrast", 1U, {.increasesContrast = true}},
        {"org.freedesktop.appearance", "contrast", 0U, {}},
        {"org.freedesktop.appearance", "reduced-motion", 1U, {.reducesMotion = true}},
        {"org.freedesktop.appearance", "color-scheme", 1U, {.colorScheme = ColorScheme::dark}},
        {"org.freedesktop.appearance", "color-scheme", 2U, {.colorScheme = ColorScheme::light}},
        {"org.freedesktop.appearance", "color-scheme", 3U, {}},
        {"org.freedesktop.appearance", "color-scheme", "1", {}},
        {kKdeGroup, "AnimationDurationFactor", "0", {.reducesMotion = true}},
        {kKdeGroup, "AnimationDurationFactor", 0.0, {.reducesMotion = true}},
        {kKdeGroup, "AnimationDurationFactor", "0.5", {}},
        {kKdeGroup, "AnimationDurationFactor", "none", {}},
        {kTitleBarSettings,
         "action-middle-click-titlebar",
         "lower",
         {.middleClick = TitleClickAction::lower}},
        {kTitleBarSettings,
         "action-right-click-titlebar",
         "toggle-shade",
         {.rightClick = TitleClickAction::none}},
    };
    for (const auto& given : cases) {
        EXPECT_EQ(preferencesFrom({{given.group, {{given.key, given.value}}}}), given.preferences)
            << given.key << ' ' << given.value.toString().toStdString();
    }
    EXPECT_TRUE(preferencesFrom({{"org.gnome.desktop.interface", {{"enable-animations", false}}},
                                 {kKdeGroup, {{"AnimationDurationFactor", "1"}}}})
                    .reducesMotion)
        << "one of two settings of the same meaning";
}

TEST(ColorScheme, replacesAPaletteOfTheOtherScheme) {
    const QPalette light(Qt::lightGray);
    const QPalette dark(QColor(40, 40, 40));
    const auto isDark = [](ColorScheme scheme, const QPalette& own) {
        return paletteForScheme(scheme, own).color(QPalette::Base).lightness() < 128;
    };
    EXPECT_EQ(paletteForScheme(ColorScheme::noPreference, dark), dark);
    EXPECT_EQ(paletteForScheme(ColorScheme::dark, dark), dark);
    EXPECT_EQ(paletteForScheme(ColorScheme::light, light), light);
    EXPECT_TRUE(isDark(ColorScheme::dark, light));
    EXPECT_FALSE(isDark(ColorScheme::light, dark));
    for (const auto& [scheme, own] :
         {std::pair(ColorScheme::dark, light), {ColorScheme::light, dark}}) {
        const QPalette palette = paletteForScheme(scheme, own);
        for (const auto ground : {QPalette::Window, QPalette::Base, QPalette::Button}) {
            EXPECT_GE(contrastRatio(palette.color(QPalette::Text), palette.color(ground)), 7);
        }
    }
}

std::string namesOfButtons(const TitleBar& titleBar) {
    std::string names;
    int x = -1;
    for (const auto* button : titleBar.buttons()) {
        EXPECT_GT(button->x(), std::exchange(x, button->x()));
        names += button->accessibleName().toStdString() + ' ';
    }
    return names;
}

TEST(MediaPlayerWindow, hasTheButtonsOfTheDesktop) {
    MediaPlayerWindow window(TitleBar::Ground::overPicture, /*isResizable=*/true);
    MediaPlayerWindow fixed(TitleBar::Ground::plain, /*isResizable=*/false);
    window.resize(400, 300);
    fixed.resize(400, 300);
    ASSERT_TRUE(test::showAndWait(window) && test::showAndWait(fixed));
    EXPECT_EQ(namesOfButtons(window.titleBar()), "Menu Minimize Enter Full Screen Close ");
    EXPECT_EQ(namesOfButtons(fixed.titleBar()), "Menu Minimize Close ");
    const test::DesktopWith desktop({.buttonLayout = parseButtonLayout("close,maximize:minimize")});
    EXPECT_EQ(namesOfButtons(window.titleBar()), "Close Enter Full Screen Menu Minimize ");
}

TEST(MediaPlayerWindow, followsClicksOnTheTitleAsTheDesktopDoes) {
    MediaPlayerWindow window(TitleBar::Ground::overPicture, /*isResizable=*/true);
    window.resize(400, 300);
    const auto send = [&](QEvent::Type type, Qt::MouseButton button) {
        const QPointF place(200, 20);
        QMouseEvent event(type, place, place, button, button, Qt::NoModifier);
        QCoreApplication::sendEvent(&window.titleBar(), &event);
    };
    send(QEvent::MouseButtonDblClick, Qt::LeftButton);
    EXPECT_TRUE(window.isMaximized());
    send(QEvent::MouseButtonDblClick, Qt::LeftButton);
    EXPECT_FALSE(window.isMaximized());
    const test::DesktopWith desktop(
        {.doubleClick = TitleClickAction::none, .middleClick = TitleClickAction::menu});
    int menus = 0;
    QObject::connect(&window, &MediaPlayerWindow::menuRequested, [&] { ++menus; });
    send(QEvent::MouseButtonDblClick, Qt::LeftButton);
    EXPECT_FALSE(window.isMaximized());
    EXPECT_EQ(menus, 0);
    send(QEvent::MouseButtonPress, Qt::MiddleButton);
    EXPECT_EQ(menus, 1);
}

} // namespace
} // namespace zelvane
