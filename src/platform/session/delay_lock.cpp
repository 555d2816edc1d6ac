// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/session/delay_lock.h"

#include <utility>

#include <QPointer>

#include "foundation/log.h"
#include "platform/session/bus_call.h"
#include "platform/session/logind.h"

namespace zelvane {

void DelayLock::attach(const QDBusConnection& systemBus) {
    systemBus_ = systemBus;
    update();
}

void DelayLock::addClaim(const std::string& reason) {
    reason_ = QString::fromStdString(reason);
    rule_.addClaim();
    update();
}

void DelayLock::removeClaim() {
    rule_.removeClaim();
    update();
}

void DelayLock::setPrepared(bool isPrepared) {
    rule_.setPrepared(isPrepared);
    update();
}

void DelayLock::update() {
    if (!rule_.isWanted()) {
        lock_ = QDBusUnixFileDescriptor();
    } else if (systemBus_ && !lock_.isValid() && !std::exchange(isAsking_, true)) {
        callBus(*systemBus_, logind::inhibitCall("shutdown:sleep", reason_, "delay"),
                [self = QPointer(this)](const QDBusMessage& reply) {
                    if (self) {
                        self->didAnswer(reply);
                    }
                });
    }
}

void DelayLock::didAnswer(const QDBusMessage& reply) {
    isAsking_ = false;
    if (reply.signature() == QLatin1String("h")) {
        lock_ = reply.arguments().constFirst().value<QDBusUnixFileDescriptor>();
        // The claim may have ended since.
        update();
    } else if (!std::exchange(didLogFailure_, true)) {
        logMessage("The session can end during playback without a delay: {}.", busErrorText(reply));
    }
}

} // namespace zelvane
