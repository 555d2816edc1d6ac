// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/session/logind.h"

namespace zelvane {
namespace logind {

const QString& service() {
    static const QString name = QStringLiteral("org.freedesktop.login1");
    return name;
}

const QString& path() {
    static const QString name = QStringLiteral("/org/freedesktop/login1");
    return name;
}

const QString& managerInterface() {
    static const QString name = QStringLiteral("org.freedesktop.login1.Manager");
    return name;
}

const QString& sessionInterface() {
    static const QString name = QStringLiteral("org.freedesktop.login1.Session");
    return name;
}

QDBusMessage managerCall(const char* method) {
    return QDBusMessage::createMethodCall(service(), path(), managerInterface(),
                                          QString::fromLatin1(method));
}

QDBusMessage inhibitCall(const char* what, const QString& why, const char* mode) {
    QDBusMessage call = managerCall("Inhibit");
    call << QString::fromLatin1(what) << programName() << why << QString::fromLatin1(mode);
    return call;
}

} // namespace logind

const QString& programName() {
    static const QString name = QStringLiteral("Zelvane Player");
    return name;
}

} // namespace zelvane
