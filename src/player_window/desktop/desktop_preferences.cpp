// SPDX-License-Identifier: GPL-3.0-or-later
#include "player_window/desktop/desktop_preferences.h"

#include <array>
#include <optional>

#include <QDBusVariant>

namespace zelvane {
namespace {

constexpr const char* kTitleBarGroup = "org.gnome.desktop.wm.preferences";
constexpr const char* kInterfaceGroup = "org.gnome.desktop.interface";
constexpr const char* kAccessibilityGroup = "org.gnome.desktop.a11y.interface";
constexpr const char* kAppearanceGroup = "org.freedesktop.appearance";
constexpr const char* kKdeGroup = "org.kde.kdeglobals.KDE";

QVariant unwrapped(QVariant value) {
    while (value.userType() == qMetaTypeId<QDBusVariant>()) {
        value = value.value<QDBusVariant>().variant();
    }
    return value;
}

template <class T>
std::optional<T> valueOf(const QVariant& value) {
    return value.userType() == qMetaTypeId<T>() ? std::optional(value.value<T>()) : std::nullopt;
}

/// Never clears the flag: another setting may have set it.
template <class T>
void setFlagIf(bool& flag, const QVariant& value, const T& valueThatSets) {
    flag = flag || valueOf<T>(value) == valueThatSets;
}

/// The factor is a text, because KDE's configuration files have no types.
void setFlagIfNoDuration(bool& flag, const QVariant& factor) {
    bool isNumber = false;
    const double number = factor.toString().toDouble(&isNumber);
    flag = flag || (isNumber && number <= 0);
}

void setClick(TitleClickAction& action, const QVariant& value) {
    if (const auto setting = valueOf<QString>(value)) {
        action = parseTitleClickAction(setting->toStdString());
    }
}

void setButtons(ButtonLayout& layout, const QVariant& value) {
    if (const auto setting = valueOf<QString>(value)) {
        layout = parseButtonLayout(setting->toStdString());
    }
}

void setColorScheme(ColorScheme& scheme, const QVariant& value) {
    const auto number = valueOf<unsigned>(value);
    if (number && *number <= static_cast<unsigned>(ColorScheme::light)) {
        scheme = static_cast<ColorScheme>(*number);
    }
}

using Apply = void (*)(DesktopPreferences&, const QVariant&);

struct Setting {
    const char* group;
    const char* key;
    Apply apply;
};

constexpr std::array kSettings{
    Setting{kTitleBarGroup, "button-layout",
            [](DesktopPreferences& preferences, const QVariant& value) {
                setButtons(preferences.buttonLayout, value);
            }},
    Setting{kTitleBarGroup, "action-double-click-titlebar",
            [](DesktopPreferences& preferences, const QVariant& value) {
                setClick(preferences.doubleClick, value);
            }},
    Setting{kTitleBarGroup, "action-middle-click-titlebar",
            [](DesktopPreferences& preferences, const QVariant& value) {
                setClick(preferences.middleClick, value);
            }},
    Setting{kTitleBarGroup, "action-right-click-titlebar",
            [](DesktopPreferences& preferences, const QVariant& value) {
                setClick(preferences.rightClick, value);
            }},
    Setting{kAccessibilityGroup, "high-contrast",
            [](DesktopPreferences& preferences, const QVariant& value) {
                setFlagIf(preferences.increasesContrast, value, true);
            }},
    Setting{kAppearanceGroup, "contrast",
            [](DesktopPreferences& preferences, const QVariant& value) {
                setFlagIf(preferences.increasesContrast, value, 1U);
            }},
    Setting{kAppearanceGroup, "color-scheme",
            [](DesktopPreferences& preferences, const QVariant& value) {
                setColorScheme(preferences.colorScheme, value);
            }},
    Setting{kAppearanceGroup, "reduced-motion",
            [](DesktopPreferences& preferences, const QVariant& value) {
                setFlagIf(preferences.reducesMotion, value, 1U);
            }},
    Setting{kInterfaceGroup, "enable-animations",
            [](DesktopPreferences& preferences, const QVariant& value) {
                setFlagIf(preferences.reducesMotion, value, false);
            }},
    Setting{kKdeGroup, "AnimationDurationFactor",
            [](DesktopPreferences& preferences, const QVariant& value) {
                setFlagIfNoDuration(preferences.reducesMotion, value);
            }},
};

} // namespace

QStringList desktopSettingGroups() {
    return {kTitleBarGroup, kInterfaceGroup, kAccessibilityGroup, kAppearanceGroup, kKdeGroup};
}

DesktopPreferences preferencesFrom(const DesktopSettingGroups& settings) {
    DesktopPreferences preferences;
    for (const Setting& setting : kSettings) {
        const QVariant value = settings.value(setting.group).value(setting.key);
        if (value.isValid()) {
            setting.apply(preferences, unwrapped(value));
        }
    }
    return preferences;
}

} // namespace zelvane
