// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QDBusMessage>
#include <QString>

namespace zelvane {

// Messages to the login manager, on the system's bus.

namespace logind {

const QString& service();
const QString& path();
const QString& managerInterface();
const QString& sessionInterface();

QDBusMessage managerCall(const char* method);
/// Asks for a lock: a file descriptor that holds it until it is closed. `what` and `mode` are words
/// of the login manager.
QDBusMessage inhibitCall(const char* what, const QString& why, const char* mode);

} // namespace logind

/// The name of the program in messages to services of the session.
const QString& programName();

} // namespace zelvane
