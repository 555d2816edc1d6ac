// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>
#include <QStringList>
#include <QVariant>

#include "player_window/desktop/button_layout.h"

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
    friend bool operator==(const DesktopPreferences&, const DesktopPreferences&) = default;
};

/// The groups of settings in org.freedesktop.portal.Settings from which the preferences are read.
QStringList desktopSettingGroups();

/// Changes the preference that depends on this setting, if any. `value` may be wrapped in D-Bus
/// variants. An unknown setting, and a value of an unexpected type, change nothing.
void applyDesktopSetting(DesktopPreferences& preferences, const QString& group, const QString& key,
                         const QVariant& value);

} // namespace zelvane
