// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QProcess>
#include <QProcessEnvironment>

#include "tests/player_window/private_bus.h"

namespace zelvane::test {

/// A service of dbusmock on the private bus, in a process of its own. It ends with this.
class MockService {
  public:
    /// `templateName` is one of dbusmock's templates or a file of this folder.
    MockService(const PrivateBus& bus, const QString& templateName, QString busName)
        : busName_(std::move(busName)), connection_(bus.connection("mocks")) {
        auto environment = QProcessEnvironment::systemEnvironment();
        environment.insert("DBUS_SESSION_BUS_ADDRESS", bus.address());
        environment.insert("DBUS_SYSTEM_BUS_ADDRESS", bus.address());
        process_.setProcessEnvironment(environment);
        process_.setProcessChannelMode(QProcess::MergedChannels);
        const bool isFile = templateName.endsWith(".py");
        process_.start("/usr/bin/python3",
                       {"-m", "dbusmock", "-t",
                        isFile ? ZELVANE_MOCK_FOLDER + ("/" + templateName) : templateName});
        EXPECT_TRUE(runUntil([this] {
            return connection_.interface()->isServiceRegistered(busName_).value();
        })) << log().toStdString();
    }
    ~MockService() {
        process_.kill();
        process_.waitForFinished();
        runUntil(
            [this] { return !connection_.interface()->isServiceRegistered(busName_).value(); });
    }
    MockService(const MockService&) = delete;
    MockService& operator=(const MockService&) = delete;

    /// The calls that the service has received, a line each.
    const QString& log() {
        log_ += process_.readAllStandardOutput();
        return log_;
    }
    bool received(const QString& call) {
        return runUntil([&] { return log().contains(call); });
    }
    int count(const QString& call) { return static_cast<int>(log().count(call)); }

    QVariantList call(const QString& path, const QString& interface, const QString& method,
                      const QVariantList& arguments) const {
        return callOnBus(connection_, busName_, path, interface, method, arguments);
    }

  private:
    const QString busName_;
    QDBusConnection connection_;
    QProcess process_;
    QString log_;
};

} // namespace zelvane::test
