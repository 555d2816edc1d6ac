// SPDX-License-Identifier: GPL-3.0-or-later
#include <thread>

#include <QDBusArgument>

#include <gmock/gmock.h>

#include "foundation/workspace_notifications.h"
#include "platform/session/desktop_session.h"
#include "tests/platform/session/mock_service.h"
#include "tests/support/event_loop_queue.h"
#include "tests/support/log_capture.h"

namespace zelvane::test {
namespace {

class DesktopSessionTest : public testing::Test {
  protected:
    DesktopSessionTest() {
        for (const auto name : {kWorkspaceWillSleepNotification, kWorkspaceWillPowerOffNotification,
                                kWorkspaceSessionDidResignActiveNotification}) {
            observers_.push_back(workspace_->addObserver(
                std::string(name), nullptr, nullptr, [this](const Notification& notification) {
                    // Without "NSWorkspace" and "Notification".
                    posted_ += notification.name.substr(11, notification.name.size() - 23) + " ";
                }));
        }
    }
    void TearDown() override { session_ = nullptr; }

    void attach() { session_->attach({bus_.connection("session"), bus_.connection("system")}); }
    /// As a player does, on a thread of its own.
    template <class Task>
    static void elsewhere(Task task) {
        std::thread(task).join();
    }
    PowerManagement::AssertionID keepAwake() const {
        PowerManagement::AssertionID assertion = 0;
        elsewhere([&] {
            EXPECT_EQ(session_->powerManagement()->createDisplayAwakeAssertion("plays", assertion),
                      kNoErr);
        });
        return assertion;
    }
    void allowSleep(PowerManagement::AssertionID assertion) const {
        elsewhere([&] { session_->powerManagement()->releaseAssertion(assertion); });
    }
    /// Waits until the login manager has these locks: "what why mode" of each.
    static bool hasLocks(const MockService& manager, const std::vector<std::string>& expected) {
        return runUntil([&] { return locksOf(manager) == expected; });
    }
    static std::vector<std::string> locksOf(const MockService& manager) {
        const auto reply = manager.call(kLoginPath, kManager, "ListInhibitors", {});
        std::vector<std::string> locks;
        const auto list = reply.value(0).value<QDBusArgument>();
        for (list.beginArray(); !list.atEnd();) {
            QString what, who, why, mode;
            uint user = 0, process = 0;
            list.beginStructure();
            list >> what >> who >> why >> mode >> user >> process;
            list.endStructure();
            EXPECT_EQ(who, "Zelvane Player");
            locks.push_back((what + ' ' + why + ' ' + mode).toStdString());
        }
        return locks;
    }
    static void emitSignal(const MockService& manager, const QString& name, bool flag) {
        manager.call(kLoginPath, kMock, "EmitSignal",
                     {kManager, name, "b", QVariant(QVariantList{flag})});
    }

    static constexpr auto kLoginPath = "/org/freedesktop/login1";
    static constexpr auto kManager = "org.freedesktop.login1.Manager";
    static constexpr auto kLoginService = "org.freedesktop.login1";
    static constexpr auto kMock = "org.freedesktop.DBus.Mock";
    static constexpr auto kScreenSaver = "org.freedesktop.ScreenSaver";

    const EventLoopScope main_;
    const PrivateBus bus_;
    const std::shared_ptr<NotificationCenter> workspace_ = std::make_shared<NotificationCenter>();
    std::shared_ptr<DesktopSession> session_ = DesktopSession::create(workspace_);
    std::vector<NotificationObserver> observers_;
    std::string posted_;
};

TEST_F(DesktopSessionTest, keepsTheDisplayAwakeByTheFirstServiceThatThereIs) {
    const LogCapture log;
    attach();
    keepAwake();
    EXPECT_TRUE(runUntil([&] { return log.count("Failed to create power management") == 1; }));
    MockService manager(bus_, "logind", kLoginService);
    auto assertion = keepAwake();
    EXPECT_TRUE(hasLocks(manager, {"idle plays block"}));
    allowSleep(assertion);
    EXPECT_TRUE(hasLocks(manager, {}));

    MockService portal(bus_, "portal.py", "org.freedesktop.portal.Desktop");
    assertion = keepAwake();
    EXPECT_TRUE(portal.received("Inhibit \"\" 8 {\"reason\": \"plays\"}"))
        << portal.log().toStdString();
    EXPECT_EQ(portal.count("Close"), 0);
    allowSleep(assertion);
    EXPECT_TRUE(portal.received("Close"));

    MockService screenSaver(bus_, "screen_saver.py", kScreenSaver);
    assertion = keepAwake();
    EXPECT_TRUE(screenSaver.received("Inhibit \"Zelvane Player\" \"plays\""))
        << screenSaver.log().toStdString();
    EXPECT_EQ(screenSaver.count("UnInhibit"), 0);
    allowSleep(assertion);
    EXPECT_TRUE(screenSaver.received("UnInhibit 7"));
    EXPECT_EQ(portal.count(" Inhibit"), 1);
    EXPECT_EQ(locksOf(manager), std::vector<std::string>());
}

TEST_F(DesktopSessionTest, givesBackWhatIsGrantedTooLate) {
    MockService screenSaver(bus_, "screen_saver.py", kScreenSaver);
    attach();
    allowSleep(keepAwake());
    EXPECT_TRUE(screenSaver.received("UnInhibit 7"));
}

TEST_F(DesktopSessionTest, claimsAgainFromANewScreenSaver) {
    keepAwake();
    auto first = std::make_unique<MockService>(bus_, "screen_saver.py", kScreenSaver);
    attach();
    EXPECT_TRUE(first->received("Inhibit")) << "claimed before the bus was there";
    first = nullptr;
    MockService second(bus_, "screen_saver.py", kScreenSaver);
    EXPECT_TRUE(second.received("Inhibit"));
}

TEST_F(DesktopSessionTest, delaysTheEndOfTheSessionUntilPlayersHavePaused) {
    MockService manager(bus_, "logind", kLoginService);
    attach();
    elsewhere([&] { session_->processInfo()->disableAutomaticTermination("plays"); });
    EXPECT_TRUE(hasLocks(manager, {"shutdown:sleep plays delay"}));
    elsewhere([&] { session_->processInfo()->disableAutomaticTermination("loads"); });
    emitSignal(manager, "PrepareForSleep", true);
    EXPECT_TRUE(hasLocks(manager, {}));
    EXPECT_EQ(posted_, "WillSleep ");
    emitSignal(manager, "PrepareForSleep", false);
    EXPECT_TRUE(hasLocks(manager, {"shutdown:sleep loads delay"})) << "it still plays";
    emitSignal(manager, "PrepareForShutdown", true);
    EXPECT_TRUE(hasLocks(manager, {}));
    EXPECT_EQ(posted_, "WillSleep WillPowerOff ");
    emitSignal(manager, "PrepareForShutdown", false);
    EXPECT_TRUE(hasLocks(manager, {"shutdown:sleep loads delay"}));
    elsewhere([&] { session_->processInfo()->enableAutomaticTermination("paused"); });
    elsewhere([&] { session_->processInfo()->enableAutomaticTermination("loaded"); });
    EXPECT_TRUE(hasLocks(manager, {}));
}

TEST_F(DesktopSessionTest, announcesThatTheSessionIsLockedOrInactive) {
    qputenv("XDG_SESSION_ID", "c1");
    MockService manager(bus_, "logind", kLoginService);
    manager.call(kLoginPath, kMock, "AddSession", {"c1", "seat0", 1000U, "user", true});
    const QString path = "/org/freedesktop/login1/session/c1";
    const auto call = [&](const QString& method, const QVariantList& arguments) {
        manager.call(path, "org.freedesktop.login1.Session", method, arguments);
    };
    attach();
    EXPECT_TRUE(manager.received("GetSession \"c1\""));
    const auto update = [&](const QVariantMap& properties) {
        manager.call(path, kMock, "UpdateProperties",
                     {"org.freedesktop.login1.Session", properties});
    };
    /// What was posted, up to a signal that is sent now.
    const auto posted = [&] {
        emitSignal(manager, "PrepareForSleep", true);
        EXPECT_TRUE(runUntil([&] { return posted_.ends_with("WillSleep "); }));
        return std::exchange(posted_, "");
    };
    // The match of the signals follows the answer to GetSession.
    EXPECT_TRUE(runUntil([&] {
        call("Lock", {});
        return !posted_.empty();
    }));
    posted();
    call("SetLockedHint", {true});
    EXPECT_EQ(posted(), "SessionDidResignActive WillSleep ");
    call("SetLockedHint", {false});
    call("Unlock", {});
    update({{"Active", true}});
    EXPECT_EQ(posted(), "WillSleep ");
    update({{"Active", false}});
    EXPECT_EQ(posted(), "SessionDidResignActive WillSleep ");
    qunsetenv("XDG_SESSION_ID");
}

TEST_F(DesktopSessionTest, saysOnceThatThereIsNoBus) {
    const LogCapture log;
    session_->attach({QDBusConnection("none"), QDBusConnection("none")});
    allowSleep(keepAwake());
    QCoreApplication::processEvents();
    EXPECT_THAT(log.lines(), testing::ElementsAre(testing::StartsWith("There is no message bus")));
}

} // namespace
} // namespace zelvane::test
