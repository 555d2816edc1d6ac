// SPDX-License-Identifier: GPL-3.0-or-later
#include "player_window/desktop/desktop_settings.h"

#include <QApplication>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusServiceWatcher>
#include <QPointer>

namespace zelvane {
namespace {

const QString& portalService() {
    static const QString service = QStringLiteral("org.freedesktop.portal.Desktop");
    return service;
}

const QString& portalPath() {
    static const QString path = QStringLiteral("/org/freedesktop/portal/desktop");
    return path;
}

const QString& settingsInterface() {
    static const QString interface = QStringLiteral("org.freedesktop.portal.Settings");
    return interface;
}

} // namespace

DesktopSettings::DesktopSettings(const QDBusConnection& bus, QObject* parent)
    : QObject(parent), bus_(bus) {
    if (!bus_.isConnected()) {
        return;
    }
    // The signal is connected by the names of its types.
    qRegisterMetaType<QDBusVariant>();
    qDBusRegisterMetaType<DesktopSettingGroups>();
    // Before the first read: no change is lost between the two.
    bus_.connect(portalService(), portalPath(), settingsInterface(),
                 QStringLiteral("SettingChanged"), this,
                 SLOT(settingChanged(QString, QString, QDBusVariant)));
    // The parent owns it. NOLINTNEXTLINE(cppcoreguidelines-owning-memory)
    auto* watcher = new QDBusServiceWatcher(portalService(), bus_,
                                            QDBusServiceWatcher::WatchForRegistration, this);
    connect(watcher, &QDBusServiceWatcher::serviceRegistered, this, &DesktopSettings::readAll);
    readAll();
}

DesktopSettings& DesktopSettings::shared() {
    static QPointer<DesktopSettings> settings;
    if (settings == nullptr) {
        Q_ASSERT(qApp != nullptr);
        // The application owns it. NOLINTNEXTLINE(cppcoreguidelines-owning-memory)
        settings = new DesktopSettings(QDBusConnection::sessionBus(), qApp);
    }
    return *settings;
}

void DesktopSettings::setPreferences(const DesktopPreferences& preferences) {
    if (preferences != preferences_) {
        preferences_ = preferences;
        emit didChange();
    }
}

void DesktopSettings::readAll() {
    QDBusMessage message = QDBusMessage::createMethodCall(
        portalService(), portalPath(), settingsInterface(), QStringLiteral("ReadAll"));
    message << desktopSettingGroups();
    // The parent owns it. NOLINTNEXTLINE(cppcoreguidelines-owning-memory)
    auto* call = new QDBusPendingCallWatcher(bus_.asyncCall(message), this);
    connect(call, &QDBusPendingCallWatcher::finished, this, &DesktopSettings::didReadAll);
}

void DesktopSettings::didReadAll(QDBusPendingCallWatcher* call) {
    call->deleteLater();
    const QDBusPendingReply<DesktopSettingGroups> reply = *call;
    if (reply.isError()) {
        return;
    }
    settings_ = reply.value();
    setPreferences(preferencesFrom(settings_));
}

void DesktopSettings::settingChanged(const QString& group, const QString& key,
                                     const QDBusVariant& value) {
    if (desktopSettingGroups().contains(group)) {
        settings_[group][key] = value.variant();
        setPreferences(preferencesFrom(settings_));
    }
}

} // namespace zelvane
