// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QDBusConnection>
#include <QDBusVariant>
#include <QObject>

#include "player_window/desktop/desktop_preferences.h"

class QDBusPendingCallWatcher;

namespace zelvane {

/// Follows the preferences of the desktop by the portal org.freedesktop.portal.Settings. It never
/// waits for the portal: the default preferences apply until the portal answers, and where there is
/// no bus or no portal. Main thread.
class DesktopSettings final : public QObject {
    Q_OBJECT

  public:
    explicit DesktopSettings(const QDBusConnection& bus, QObject* parent = nullptr);

    /// The settings of the session. The first call connects; it needs the application object, which
    /// owns the settings.
    static DesktopSettings& shared();

    const DesktopPreferences& preferences() const { return preferences_; }
    /// Replaces the preferences until the desktop announces a change.
    void setPreferences(const DesktopPreferences& preferences);

  signals:
    void didChange();

  private slots:
    void settingChanged(const QString& group, const QString& key, const QDBusVariant& value);

  private:
    void readAll();
    void didReadAll(QDBusPendingCallWatcher* call);

    QDBusConnection bus_;
    DesktopSettingGroups settings_;
    DesktopPreferences preferences_;
};

} // namespace zelvane
