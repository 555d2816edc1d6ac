// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QMap>
#include <QString>
#include <QStringList>
#include <QVariant>

#include "player_window/desktop/button_layout.h"
#include "player_window/desktop/color_scheme.h"

namespace zelvane {

/// What the user has chosen for all windows of the desktop. The values of a new object apply where
/// the desktop says nothing.
struct DesktopPreferences {
    ButtonLayout buttonLayout = {};
    TitleClickAction doubleClick = TitleClickAction::toggleMaximized;
    TitleClickAction middleClick = TitleClickAction::none;
    TitleClickAction rightClick = TitleClickAction::menu;
    bool increasesContrast = false;
    bool reducesMotion = false;
    ColorScheme colorScheme = ColorScheme::noPreference;
    friend bool operator==(const DesktopPreferences&, const DesktopPreferences&) = default;
};

/// The groups of settings in org.freedesktop.portal.Settings from which the preferences are read.
QStringList desktopSettingGroups();

/// The values of settings by group and key. They may be wrapped in D-Bus variants.
using DesktopSettingGroups = QMap<QString, QVariantMap>;

/// The preferences that follow from the settings. An unknown setting, and a value of an unexpected
/// type, change nothing. Where desktops have settings of the same meaning, one of them is enough.
DesktopPreferences preferencesFrom(const DesktopSettingGroups& settings);

} // namespace zelvane
