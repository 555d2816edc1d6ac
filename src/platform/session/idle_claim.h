// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <optional>

#include <QDBusConnection>
#include <QDBusMessage>
#include <QString>

namespace zelvane {

/// The connections of the program to the message buses; either may be unconnected.
struct Buses {
    QDBusConnection session;
    QDBusConnection system;
};

/// Keeps the display awake from start() to its destruction: by the screen saver of the desktop,
/// else by the portal, else by the login manager. It never waits for them. Main thread.
///
///   start ──> asking one service ──(granted)──> held ──(destroyed)──> given back
///                │      ^   └──(destroyed)──> given back with the answer
///     (refused)  └──────┘ the next one; after the last, a line in the log
class IdleClaim final : public std::enable_shared_from_this<IdleClaim> {
  public:
    explicit IdleClaim(QString reason) : reason_(std::move(reason)) {}
    ~IdleClaim();
    IdleClaim(const IdleClaim&) = delete;
    IdleClaim& operator=(const IdleClaim&) = delete;

    void start(const Buses& buses);
    /// A new screen saver knows no claims, and is asked before other services.
    void screenSaverDidStart(const Buses& buses);

  private:
    struct Service;
    static const Service* serviceAt(std::size_t index);

    void ask(const Buses& buses, std::size_t index);
    void didAnswer(const Buses& buses, std::size_t index, const QDBusMessage& reply);

    const QString reason_;
    /// Which start() the answers belong to.
    int round_ = 0;
    /// Set while the claim is held, with the service that holds it.
    std::function<void()> giveBack_;
    std::size_t holder_ = 0;
};

} // namespace zelvane
