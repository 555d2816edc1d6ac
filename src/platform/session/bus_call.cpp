// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/session/bus_call.h"

#include <utility>

#include <QCoreApplication>
#include <QDBusPendingCall>
#include <QDBusPendingCallWatcher>

#include <fmt/format.h>

namespace zelvane {

void callBus(const QDBusConnection& bus, const QDBusMessage& call,
             std::function<void(const QDBusMessage& reply)> handler) {
    // Deleted with its reply, else by the application.
    // NOLINTNEXTLINE(cppcoreguidelines-owning-memory)
    auto* watcher = new QDBusPendingCallWatcher(bus.asyncCall(call), QCoreApplication::instance());
    QObject::connect(watcher, &QDBusPendingCallWatcher::finished, watcher,
                     [watcher, handler = std::move(handler)] {
                         watcher->deleteLater();
                         handler(watcher->reply());
                     });
}

std::string busErrorText(const QDBusMessage& error) {
    return fmt::format("{}: {}", error.errorName().toStdString(),
                       error.errorMessage().toStdString());
}

} // namespace zelvane
