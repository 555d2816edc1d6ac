// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QDBusArgument>
#include <QDBusVariant>

#include "tests/player_window/private_bus.h"

namespace zelvane::test {

inline constexpr auto kMprisName = "org.mpris.MediaPlayer2.zelvane";
inline constexpr auto kMprisRoot = "org.mpris.MediaPlayer2";
inline constexpr auto kMprisPlayer = "org.mpris.MediaPlayer2.Player";

/// A remote control on the private bus.
struct MprisClient {
    QDBusConnection bus;

    QVariantList call(const QString& interface, const QString& method,
                      const QVariantList& arguments = {}) const {
        return callOnBus(bus, kMprisName, "/org/mpris/MediaPlayer2", interface, method, arguments);
    }
    QVariant get(const QString& interface, const QString& property) const {
        const auto answer = call(kProperties, "Get", {interface, property}).value(0);
        const auto value = answer.value<QDBusVariant>().variant();
        return value.canConvert<QDBusArgument>() ? qdbus_cast<QVariantMap>(value) : value;
    }
    QVariantMap metadata() const { return get(kMprisPlayer, "Metadata").toMap(); }
    void set(const QString& interface, const QString& property, const QVariant& value) const {
        call(kProperties, "Set", {interface, property, QVariant::fromValue(QDBusVariant(value))});
    }

    static constexpr auto kProperties = "org.freedesktop.DBus.Properties";
};

} // namespace zelvane::test
