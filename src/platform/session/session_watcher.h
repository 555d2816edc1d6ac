// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>

#include <QDBusConnection>
#include <QObject>
#include <QStringList>
#include <QVariantMap>

namespace zelvane {

/// Whether these changed properties of a session of the login manager say that the user cannot see
/// it any more.
bool doesSessionResignActive(const QVariantMap& changedProperties);

/// Reports what the login manager announces about this machine and this session. Main thread.
class SessionWatcher final : public QObject {
    Q_OBJECT

  public:
    struct Handlers {
        /// True before the machine sleeps; false after that.
        std::function<void(bool)> onPrepareForSleep;
        /// True before the machine is shut down; false when that was cancelled.
        std::function<void(bool)> onPrepareForShutdown;
        /// The session was locked, or another one became active. Can be called twice for one lock.
        std::function<void()> onResignActive;
    };

    /// Does not wait for the login manager to find the session.
    SessionWatcher(const QDBusConnection& systemBus, Handlers handlers);

  private slots:
    void prepareForSleep(bool begins);
    void prepareForShutdown(bool begins);
    void lock();
    void propertiesChanged(const QString& interface, const QVariantMap& changed,
                           const QStringList& invalidated);

  private:
    void connectManager(const char* signal, const char* slot);
    void connectSession(const QString& path);

    QDBusConnection bus_;
    const Handlers handlers_;
};

} // namespace zelvane
