// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QDBusMessage>
#include <QString>

namespace zelvane {

/// The name of the desktop's screen saver on the session's bus.
inline const QString& screenSaverService() {
    static const QString name = QStringLiteral("org.freedesktop.ScreenSaver");
    return name;
}

inline QDBusMessage screenSaverCall(const char* method) {
    return QDBusMessage::createMethodCall(screenSaverService(),
                                          QStringLiteral("/org/freedesktop/ScreenSaver"),
                                          screenSaverService(), QString::fromLatin1(method));
}

} // namespace zelvane
