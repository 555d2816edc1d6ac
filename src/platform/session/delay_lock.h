// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>
#include <string>

#include <QDBusConnection>
#include <QDBusUnixFileDescriptor>
#include <QObject>

namespace zelvane {

/// Decides whether the login manager waits for the program before it suspends or ends the
/// session: while there are claims, except while the session has prepared for it.
///
///            first claim                  prepare(true)
///   free ───────────────────> wanted ───────────────────> free, until prepare(false)
///    ^      last claim gone      │
///    └───────────────────────────┘
class DelayLockRule {
  public:
    void addClaim() { ++claims_; }
    void removeClaim() { --claims_; }
    void setPrepared(bool isPrepared) { isPrepared_ = isPrepared; }
    bool isWanted() const { return claims_ > 0 && !isPrepared_; }

  private:
    int claims_ = 0;
    bool isPrepared_ = false;
};

/// Holds the login manager's delay lock while the rule wants it. It never waits for the login
/// manager. Main thread.
class DelayLock final : public QObject {
  public:
    /// Before this it only counts.
    void attach(const QDBusConnection& systemBus);

    void addClaim(const std::string& reason);
    void removeClaim();
    /// The session is about to be suspended or ended, and all that had to be done is done; or it
    /// goes on.
    void setPrepared(bool isPrepared);

  private:
    void update();
    void didAnswer(const QDBusMessage& reply);

    std::optional<QDBusConnection> systemBus_;
    DelayLockRule rule_;
    QString reason_;
    QDBusUnixFileDescriptor lock_;
    bool isAsking_ = false;
    bool didLogFailure_ = false;
};

} // namespace zelvane
