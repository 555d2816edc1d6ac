// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <csignal>
#include <cstdlib>

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCall>
#include <QProcess>
#include <unistd.h>

#include "tests/player_window/window_test_support.h"

namespace zelvane::test {

/// A message bus of this test alone. It ends with all services that it has started.
class PrivateBus {
  public:
    PrivateBus() {
        daemon_.setChildProcessModifier([] { setpgid(0, 0); });
        daemon_.start("dbus-daemon", {"--session", "--nofork", "--nopidfile", "--print-address"});
        runUntil(
            [this] { return daemon_.canReadLine() || daemon_.state() == QProcess::NotRunning; });
        address_ = QString::fromUtf8(daemon_.readLine()).trimmed();
    }
    ~PrivateBus() {
        if (daemon_.processId() > 0) {
            kill(-static_cast<pid_t>(daemon_.processId()), SIGTERM);
        }
        daemon_.waitForFinished();
    }
    PrivateBus(const PrivateBus&) = delete;
    PrivateBus& operator=(const PrivateBus&) = delete;

    const QString& address() const { return address_; }
    /// Each connection of this object needs its own name.
    QDBusConnection connection(const char* name) const {
        return QDBusConnection::connectToBus(address_, address_ + name);
    }

  private:
    QProcess daemon_;
    QString address_;
};

/// Calls a service on the bus, which may be one of this thread. {"refused"} after an error.
inline QVariantList callOnBus(const QDBusConnection& bus, const QString& service,
                              const QString& path, const QString& interface, const QString& method,
                              const QVariantList& arguments) {
    auto message = QDBusMessage::createMethodCall(service, path, interface, method);
    message.setArguments(arguments);
    const QDBusPendingCall call = bus.asyncCall(message);
    runUntil([&] { return call.isFinished(); });
    return call.isError() ? QVariantList{"refused"} : call.reply().arguments();
}

} // namespace zelvane::test
