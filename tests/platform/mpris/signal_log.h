// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QDBusConnection>
#include <QObject>
#include <QStringList>
#include <QVariantMap>

namespace zelvane::test {

/// What a program on the bus hears from the player.
class SignalLog final : public QObject {
    Q_OBJECT

  public:
    explicit SignalLog(QDBusConnection bus) {
        const QString path = "/org/mpris/MediaPlayer2";
        bus.connect({}, path, "org.freedesktop.DBus.Properties", "PropertiesChanged", this,
                    SLOT(change(QString, QVariantMap)));
        bus.connect({}, path, "org.mpris.MediaPlayer2.Player", "Seeked", this,
                    SLOT(seek(qlonglong)));
    }

    /// By "Interface.Name", without the common prefix of both interfaces.
    QVariantMap properties;
    QList<qlonglong> seeks;

  private slots:
    void change(const QString& interface, const QVariantMap& changed) {
        const QString prefix = interface.endsWith("Player") ? "Player." : "";
        for (auto each = changed.begin(); each != changed.end(); ++each) {
            properties[prefix + each.key()] = each.value();
        }
    }
    void seek(qlonglong position) { seeks.append(position); }
};

} // namespace zelvane::test
