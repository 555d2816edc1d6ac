// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/session/session_watcher.h"

#include <utility>

#include <QDBusObjectPath>
#include <QPointer>

#include "foundation/log.h"
#include "platform/session/bus_call.h"
#include "platform/session/logind.h"

namespace zelvane {
namespace {

/// The session of this process, or of its user's display where a service manager started it.
QString sessionName() {
    return qEnvironmentVariable("XDG_SESSION_ID", QStringLiteral("auto"));
}

} // namespace

bool doesSessionResignActive(const QVariantMap& changedProperties) {
    return !changedProperties.value(QStringLiteral("Active"), true).toBool() ||
           changedProperties.value(QStringLiteral("LockedHint"), false).toBool();
}

SessionWatcher::SessionWatcher(const QDBusConnection& systemBus, Handlers handlers)
    : bus_(systemBus), handlers_(std::move(handlers)) {
    connectManager("PrepareForSleep", SLOT(prepareForSleep(bool)));
    connectManager("PrepareForShutdown", SLOT(prepareForShutdown(bool)));
    QDBusMessage call = logind::managerCall("GetSession");
    call << sessionName();
    callBus(bus_, call, [self = QPointer(this)](const QDBusMessage& reply) {
        if (!self) {
            return;
        }
        if (reply.signature() == QLatin1String("o")) {
            self->connectSession(reply.arguments().constFirst().value<QDBusObjectPath>().path());
        } else {
            logMessage("Playback continues while the session is locked: {}.", busErrorText(reply));
        }
    });
}

void SessionWatcher::connectManager(const char* signal, const char* slot) {
    bus_.connect(logind::service(), logind::path(), logind::managerInterface(),
                 QString::fromLatin1(signal), this, slot);
}

void SessionWatcher::connectSession(const QString& path) {
    // Few desktops send the first when they lock the screen themselves.
    bus_.connect(logind::service(), path, logind::sessionInterface(), QStringLiteral("Lock"), this,
                 SLOT(lock()));
    bus_.connect(logind::service(), path, QStringLiteral("org.freedesktop.DBus.Properties"),
                 QStringLiteral("PropertiesChanged"), this,
                 SLOT(propertiesChanged(QString, QVariantMap, QStringList)));
}

void SessionWatcher::prepareForSleep(bool begins) {
    handlers_.onPrepareForSleep(begins);
}

void SessionWatcher::prepareForShutdown(bool begins) {
    handlers_.onPrepareForShutdown(begins);
}

void SessionWatcher::lock() {
    handlers_.onResignActive();
}

void SessionWatcher::propertiesChanged(const QString& interface, const QVariantMap& changed,
                                       const QStringList& /*invalidated*/) {
    if (interface == logind::sessionInterface() && doesSessionResignActive(changed)) {
        handlers_.onResignActive();
    }
}

} // namespace zelvane
