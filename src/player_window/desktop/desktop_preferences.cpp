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

void setFlag(bool& flag, const QVariant& value, bool valueThatSets) {
    if (const auto setting = valueOf<bool>(value)) {
        flag = *setting == valueThatSets;
    }
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
                setFlag(preferences.increasesContrast, value, true);
            }},
    Setting{kInterfaceGroup, "enable-animations",
            [](DesktopPreferences& preferences, const QVariant& value) {
                setFlag(preferences.reducesMotion, value, false);
            }},
};

} // namespace

QStringList desktopSettingGroups() {
    return {kTitleBarGroup, kInterfaceGroup, kAccessibilityGroup};
}

void applyDesktopSetting(DesktopPreferences& preferences, const QString& group, const QString& key,
                         const QVariant& value) {
    for (const Setting& setting : kSettings) {
        if (group == QLatin1String(setting.group) && key == QLatin1String(setting.key)) {
            setting.apply(preferences, unwrapped(value));
        }
    }
}

} // namespace zelvane
