// SPDX-License-Identifier: GPL-3.0-or-later
#include "player_window/desktop/global_menu.h"

#include <utility>

#include <QCoreApplication>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusServiceWatcher>
#include <QPointer>

namespace zelvane {
namespace {

constexpr auto kRegistrar = "com.canonical.AppMenu.Registrar";

} // namespace

// The parent owns the watchers. NOLINTBEGIN(cppcoreguidelines-owning-memory)
GlobalMenu::GlobalMenu(const QDBusConnection& bus, QObject* parent) : QObject(parent) {
    if (!bus.isConnected()) {
        return;
    }
    auto* watcher =
        new QDBusServiceWatcher(kRegistrar, bus, QDBusServiceWatcher::WatchForRegistration, this);
    connect(watcher, &QDBusServiceWatcher::serviceRegistered, this, &GlobalMenu::setAvailable);
    auto question = QDBusMessage::createMethodCall("org.freedesktop.DBus", "/org/freedesktop/DBus",
                                                   "org.freedesktop.DBus", "NameHasOwner");
    question << QString(kRegistrar);
    auto* call = new QDBusPendingCallWatcher(bus.asyncCall(question), this);
    connect(call, &QDBusPendingCallWatcher::finished, this, [this, call] {
        call->deleteLater();
        const QDBusPendingReply<bool> hasOwner = *call;
        if (!hasOwner.isError() && hasOwner.value()) {
            setAvailable();
        }
    });
}

GlobalMenu& GlobalMenu::shared() {
    static QPointer<GlobalMenu> menu;
    if (!menu) {
        menu = new GlobalMenu(QDBusConnection::sessionBus(), qApp);
    }
    return *menu;
}
// NOLINTEND(cppcoreguidelines-owning-memory)

void GlobalMenu::setAvailable() {
    if (!std::exchange(isAvailable_, true)) {
        emit didBecomeAvailable();
    }
}

} // namespace zelvane
