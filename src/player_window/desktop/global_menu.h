// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QDBusConnection>
#include <QObject>

namespace zelvane {

/// Whether the desktop shows the menus of windows in a bar of its own:
/// com.canonical.AppMenu.Registrar is on the session's bus. It never waits for the bus, unlike the
/// toolkit, which asks it when the first menu bar is made. Main thread.
class GlobalMenu final : public QObject {
    Q_OBJECT

  public:
    explicit GlobalMenu(const QDBusConnection& bus, QObject* parent = nullptr);
    /// Of the session. The first call asks; it needs the application object, which owns the result.
    static GlobalMenu& shared();

    /// False until the bus has answered. Stays true.
    bool isAvailable() const { return isAvailable_; }

  signals:
    void didBecomeAvailable();

  private:
    void setAvailable();

    bool isAvailable_ = false;
};

} // namespace zelvane
