// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/session/idle_claim.h"

#include <array>
#include <utility>

#include <QDBusObjectPath>
#include <QDBusUnixFileDescriptor>

#include "foundation/log.h"
#include "platform/session/bus_call.h"
#include "platform/session/logind.h"
#include "platform/session/screen_saver.h"

namespace zelvane {
namespace {

using GiveBack = std::function<void()>;

/// Sends the message that ends a claim.
void end(const QDBusConnection& bus, const QDBusMessage& call) {
    callBus(bus, call, [](const QDBusMessage& reply) {
        if (reply.type() == QDBusMessage::ErrorMessage) {
            logMessage("Failed to release the power management assertion that is preventing idle "
                       "sleep: {}.",
                       busErrorText(reply));
        }
    });
}

QDBusMessage askScreenSaver(const QString& reason) {
    QDBusMessage call = screenSaverCall("Inhibit");
    call << programName() << reason;
    return call;
}

GiveBack releaseScreenSaver(const QDBusConnection& bus, const QVariant& cookie) {
    return [bus, cookie] {
        QDBusMessage call = screenSaverCall("UnInhibit");
        call << cookie;
        end(bus, call);
    };
}

QDBusMessage askPortal(const QString& reason) {
    constexpr uint kIdle = 8;
    QDBusMessage call = QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.portal.Desktop"),
        QStringLiteral("/org/freedesktop/portal/desktop"),
        QStringLiteral("org.freedesktop.portal.Inhibit"), QStringLiteral("Inhibit"));
    call << QString() << kIdle << QVariantMap{{QStringLiteral("reason"), reason}};
    return call;
}

GiveBack releasePortal(const QDBusConnection& bus, const QVariant& handle) {
    return [bus, path = handle.value<QDBusObjectPath>().path()] {
        end(bus, QDBusMessage::createMethodCall(
                     QStringLiteral("org.freedesktop.portal.Desktop"), path,
                     QStringLiteral("org.freedesktop.portal.Request"), QStringLiteral("Close")));
    };
}

QDBusMessage askLoginManager(const QString& reason) {
    return logind::inhibitCall("idle", reason, "block");
}

GiveBack releaseLoginManager(const QDBusConnection& /*bus*/, const QVariant& lock) {
    // The last copy of the descriptor closes it.
    return [descriptor = lock.value<QDBusUnixFileDescriptor>()]() mutable {
        descriptor = QDBusUnixFileDescriptor();
    };
}

} // namespace

struct IdleClaim::Service {
    QDBusConnection Buses::*bus;
    QDBusMessage (*ask)(const QString& reason);
    /// Of the right answer.
    const char* signature;
    GiveBack (*release)(const QDBusConnection& bus, const QVariant& answer);
};

const IdleClaim::Service* IdleClaim::serviceAt(std::size_t index) {
    static constexpr std::array kServices{
        Service{&Buses::session, askScreenSaver, "u", releaseScreenSaver},
        Service{&Buses::session, askPortal, "o", releasePortal},
        Service{&Buses::system, askLoginManager, "h", releaseLoginManager},
    };
    return index < kServices.size() ? &kServices.at(index) : nullptr;
}

IdleClaim::~IdleClaim() {
    if (giveBack_) {
        giveBack_();
    }
}

void IdleClaim::start(const Buses& buses) {
    ++round_;
    giveBack_ = nullptr;
    ask(buses, 0);
}

void IdleClaim::screenSaverDidStart(const Buses& buses) {
    if (!giveBack_ || holder_ == 0) {
        start(buses);
    }
}

void IdleClaim::ask(const Buses& buses, std::size_t index) {
    const Service& service = *serviceAt(index);
    callBus(buses.*service.bus, service.ask(reason_),
            [weakSelf = weak_from_this(), round = round_, buses, index,
             &service](const QDBusMessage& reply) {
                const auto self = weakSelf.lock();
                if (self && self->round_ == round) {
                    self->didAnswer(buses, index, reply);
                } else if (reply.signature() == QLatin1String(service.signature)) {
                    service.release(buses.*service.bus, reply.arguments().constFirst())();
                }
            });
}

void IdleClaim::didAnswer(const Buses& buses, std::size_t index, const QDBusMessage& reply) {
    const Service& service = *serviceAt(index);
    const bool isError = reply.type() == QDBusMessage::ErrorMessage;
    if (!isError && reply.signature() == QLatin1String(service.signature)) {
        giveBack_ = service.release(buses.*service.bus, reply.arguments().constFirst());
        holder_ = index;
    } else if (serviceAt(index + 1) != nullptr) {
        ask(buses, index + 1);
    } else {
        logMessage("Failed to create power management assertion to prevent idle sleep: {}.",
                   isError ? busErrorText(reply) : "the answer is not valid");
    }
}

} // namespace zelvane
