// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/session/desktop_session.h"

#include <atomic>
#include <utility>

#include "foundation/dispatch.h"
#include "foundation/log.h"
#include "foundation/workspace_notifications.h"
#include "platform/session/screen_saver.h"

namespace zelvane {
namespace {

/// Calls `task` with the object on the main queue, if the object lives by then.
template <class Object, class Task>
void onMain(const std::weak_ptr<Object>& object, Task task) {
    dispatch::mainQueue()->async([object, task = std::move(task)] {
        if (const auto self = object.lock()) {
            task(*self);
        }
    });
}

} // namespace

/// The bus answers later than a player can wait, so that each claim succeeds here. A player keeps
/// this object longer than the session lives.
class DesktopSession::SessionPowerManagement final : public PowerManagement {
  public:
    explicit SessionPowerManagement(std::weak_ptr<DesktopSession> session)
        : session_(std::move(session)) {}

    OSStatus createDisplayAwakeAssertion(const std::string& reason,
                                         AssertionID& assertion) override {
        assertion = ++lastAssertion_;
        onMain(session_, [assertion, reason](DesktopSession& session) {
            session.takeIdleClaim(assertion, reason);
        });
        return kNoErr;
    }
    OSStatus releaseAssertion(AssertionID assertion) override {
        onMain(session_,
               [assertion](DesktopSession& session) { session.releaseIdleClaim(assertion); });
        return kNoErr;
    }

  private:
    const std::weak_ptr<DesktopSession> session_;
    std::atomic<AssertionID> lastAssertion_{0};
};

class DesktopSession::SessionProcessInfo final : public ProcessInfo {
  public:
    explicit SessionProcessInfo(std::weak_ptr<DesktopSession> session)
        : session_(std::move(session)) {}

    void disableAutomaticTermination(const std::string& reason) override {
        onMain(session_,
               [reason](DesktopSession& session) { session.delayLock_.addClaim(reason); });
    }
    void enableAutomaticTermination(const std::string& /*reason*/) override {
        onMain(session_, [](DesktopSession& session) { session.delayLock_.removeClaim(); });
    }

  private:
    const std::weak_ptr<DesktopSession> session_;
};

std::shared_ptr<DesktopSession>
DesktopSession::create(std::shared_ptr<NotificationCenter> workspaceNotificationCenter) {
    auto session = std::make_shared<DesktopSession>(Key{}, std::move(workspaceNotificationCenter));
    session->powerManagement_ = std::make_shared<SessionPowerManagement>(session);
    session->processInfo_ = std::make_shared<SessionProcessInfo>(session);
    return session;
}

DesktopSession::DesktopSession(Key /*key*/,
                               std::shared_ptr<NotificationCenter> workspaceNotificationCenter)
    : workspaceNotificationCenter_(std::move(workspaceNotificationCenter)) {}

DesktopSession::~DesktopSession() = default;

void DesktopSession::start(const QDBusConnection& sessionBus) {
    const auto connect = [weakSelf = weak_from_this(), sessionBus] {
        const Buses buses{sessionBus, QDBusConnection::systemBus()};
        onMain(weakSelf, [buses](DesktopSession& self) { self.attach(buses); });
    };
    dispatch::globalQueue(dispatch::QualityOfService::utility)->async(connect);
}

void DesktopSession::attach(const Buses& buses) {
    const bool hasSystemBus = buses.system.isConnected();
    if (!hasSystemBus && !buses.session.isConnected()) {
        logMessage("There is no message bus: the display can sleep during playback.");
        return;
    }
    buses_ = buses;
    for (const auto& [assertion, claim] : idleClaims_) {
        claim->start(buses);
    }
    watchScreenSaver();
    if (hasSystemBus) {
        watchLoginManager();
    } else {
        logMessage("There is no system bus: playback continues while the session is locked.");
    }
}

void DesktopSession::watchScreenSaver() {
    if (!buses_->session.isConnected()) {
        return;
    }
    screenSaverWatcher_ = std::make_unique<QDBusServiceWatcher>(
        screenSaverService(), buses_->session, QDBusServiceWatcher::WatchForRegistration);
    QObject::connect(screenSaverWatcher_.get(), &QDBusServiceWatcher::serviceRegistered, [this] {
        for (const auto& [assertion, claim] : idleClaims_) {
            claim->screenSaverDidStart(*buses_);
        }
    });
}

void DesktopSession::watchLoginManager() {
    delayLock_.attach(buses_->system);
    sessionWatcher_ = std::make_unique<SessionWatcher>(
        buses_->system,
        SessionWatcher::Handlers{
            [this](bool begins) { prepare(begins, kWorkspaceWillSleepNotification); },
            [this](bool begins) { prepare(begins, kWorkspaceWillPowerOffNotification); },
            [this] { post(kWorkspaceSessionDidResignActiveNotification); }});
}

void DesktopSession::takeIdleClaim(PowerManagement::AssertionID assertion,
                                   const std::string& reason) {
    const auto claim = std::make_shared<IdleClaim>(QString::fromStdString(reason));
    idleClaims_.emplace(assertion, claim);
    if (buses_) {
        claim->start(*buses_);
    }
}

void DesktopSession::prepare(bool begins, std::string_view notification) {
    if (begins) {
        post(notification);
    }
    // The observers have paused their players: the session need not wait any longer.
    delayLock_.setPrepared(begins);
}

void DesktopSession::post(std::string_view notification) {
    workspaceNotificationCenter_->post({std::string(notification), nullptr, {}});
}

} // namespace zelvane
