// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/program_service/program_service.h"

#include <QDBusMessage>
#include <QDBusPendingReply>

#include "foundation/log.h"
#include "platform/program_service/application_adaptor.h"

namespace zelvane {
namespace {

constexpr auto kName = "org.zelvane.Player";
constexpr auto kPath = "/org/zelvane/Player";
/// Milliseconds. Neither the bus nor another process may keep this one from its files.
constexpr int kBusTimeout = 1000;
constexpr int kOtherTimeout = 1500;
/// Values of the bus's own interface.
constexpr uint kQueue = 0;
constexpr uint kDoNotQueue = 4;
constexpr uint kExists = 3;

QDBusMessage callOfBus(const char* method) {
    auto call = QDBusMessage::createMethodCall("org.freedesktop.DBus", "/org/freedesktop/DBus",
                                               "org.freedesktop.DBus", method);
    return call << QString(kName);
}

QDBusMessage requestOfName(uint flags) {
    return callOfBus("RequestName") << flags;
}

QDBusMessage callOfOther(const std::vector<URL>& files, const QVariantMap& tokens) {
    const auto call = [](const char* method) {
        return QDBusMessage::createMethodCall(kName, kPath, ApplicationAdaptor::kInterface, method);
    };
    if (files.empty()) {
        return call("Activate") << tokens;
    }
    QStringList uris;
    for (const URL& file : files) {
        uris << QString::fromStdString(file.absoluteString());
    }
    return call("Open") << uris << tokens;
}

} // namespace

QVariantMap activationTokens() {
    QVariantMap tokens;
    const auto take = [&tokens](const char* key, const char* variable) {
        if (qEnvironmentVariableIsSet(variable)) {
            tokens.insert(key, qEnvironmentVariable(variable));
        }
    };
    take("activation-token", "XDG_ACTIVATION_TOKEN");
    take("desktop-startup-id", "DESKTOP_STARTUP_ID");
    return tokens;
}

ProgramService::ProgramService(const QDBusConnection& bus) : bus_(bus) {
    if (!bus_.isConnected()) {
        return;
    }
    // The parent owns it. NOLINTNEXTLINE(cppcoreguidelines-owning-memory)
    new ApplicationAdaptor(*this);
    // Before the name: a client that sees the name uses the object at once.
    bus_.registerObject(kPath, this, QDBusConnection::ExportAdaptors);
    nameRequest_ = bus_.asyncCall(requestOfName(kDoNotQueue), kBusTimeout);
}

ProgramService::~ProgramService() {
    if (nameRequest_) {
        bus_.send(callOfBus("ReleaseName"));
        bus_.unregisterObject(kPath);
    }
}

bool ProgramService::isServedByOther(const std::vector<URL>& files, const QVariantMap& tokens) {
    if (!nameRequest_) {
        return false;
    }
    nameRequest_->waitForFinished();
    const QDBusPendingReply<uint> reply = *nameRequest_;
    if (reply.isError()) {
        logMessage("Other processes cannot find this one: {}.",
                   reply.error().message().toStdString());
        return false;
    }
    if (reply.value() != kExists) {
        return false;
    }
    const QDBusMessage answer = bus_.call(callOfOther(files, tokens), QDBus::Block, kOtherTimeout);
    if (answer.type() == QDBusMessage::ReplyMessage) {
        return true;
    }
    logMessage("The running player does not answer: {}.", answer.errorMessage().toStdString());
    bus_.send(requestOfName(kQueue));
    return false;
}

} // namespace zelvane
