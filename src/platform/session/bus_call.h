// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>

#include <QDBusConnection>
#include <QDBusMessage>

namespace zelvane {

/// Sends a call and returns at once. `handler` gets the reply or an error message, from the event
/// loop of the calling thread; it is not called when the loop ends before.
void callBus(const QDBusConnection& bus, const QDBusMessage& call,
             std::function<void(const QDBusMessage& reply)> handler);

/// "name: message" of an error, for log lines.
std::string busErrorText(const QDBusMessage& error);

} // namespace zelvane
