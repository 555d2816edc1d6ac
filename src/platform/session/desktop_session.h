// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <optional>

#include <QDBusServiceWatcher>

#include "foundation/automatic_termination_manager.h"
#include "foundation/idle_sleep_manager.h"
#include "foundation/notification_center.h"
#include "platform/session/delay_lock.h"
#include "platform/session/idle_claim.h"
#include "platform/session/session_watcher.h"

namespace zelvane {

/// The services of the user's session, for players: they keep the display awake, delay the end of
/// the session, and announce on the workspace's centre that players must pause. Main thread, except
/// where a line says otherwise.
class DesktopSession final : public std::enable_shared_from_this<DesktopSession> {
    struct Key {};

  public:
    static std::shared_ptr<DesktopSession>
    create(std::shared_ptr<NotificationCenter> workspaceNotificationCenter);
    DesktopSession(Key key, std::shared_ptr<NotificationCenter> workspaceNotificationCenter);
    ~DesktopSession();
    DesktopSession(const DesktopSession&) = delete;
    DesktopSession& operator=(const DesktopSession&) = delete;

    const std::shared_ptr<NotificationCenter>& workspaceNotificationCenter() const {
        return workspaceNotificationCenter_;
    }
    // Any thread; neither waits. Claims that are made before attach() are sent by it.
    const std::shared_ptr<PowerManagement>& powerManagement() const { return powerManagement_; }
    const std::shared_ptr<ProcessInfo>& processInfo() const { return processInfo_; }

    /// Connects to the system's bus in the background, then attaches both.
    void start(const QDBusConnection& sessionBus);
    /// Uses these buses. Once.
    void attach(const Buses& buses);

  private:
    class SessionPowerManagement;
    class SessionProcessInfo;

    void takeIdleClaim(PowerManagement::AssertionID assertion, const std::string& reason);
    void releaseIdleClaim(PowerManagement::AssertionID assertion) { idleClaims_.erase(assertion); }
    void watchScreenSaver();
    void watchLoginManager();
    void prepare(bool begins, std::string_view notification);
    void post(std::string_view notification);

    const std::shared_ptr<NotificationCenter> workspaceNotificationCenter_;
    std::shared_ptr<PowerManagement> powerManagement_;
    std::shared_ptr<ProcessInfo> processInfo_;
    std::map<PowerManagement::AssertionID, std::shared_ptr<IdleClaim>> idleClaims_;
    std::optional<Buses> buses_;
    DelayLock delayLock_;
    std::unique_ptr<SessionWatcher> sessionWatcher_;
    std::unique_ptr<QDBusServiceWatcher> screenSaverWatcher_;
};

} // namespace zelvane
