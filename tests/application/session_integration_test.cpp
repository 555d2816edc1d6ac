// SPDX-License-Identifier: GPL-3.0-or-later
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusPendingReply>
#include <QDBusVariant>
#include <QProcess>
#include <QProcessEnvironment>

#include <gtest/gtest.h>

#include "tests/player_window/private_bus.h"
#include "tests/support/clips.h"

namespace zelvane::test {
namespace {

constexpr auto kName = "org.mpris.MediaPlayer2.zelvane";
constexpr auto kPath = "/org/mpris/MediaPlayer2";
constexpr auto kRoot = "org.mpris.MediaPlayer2";
constexpr auto kProperties = "org.freedesktop.DBus.Properties";

/// The desktop program on a bus of its own.
class SessionIntegrationTest : public testing::Test {
  protected:
    SessionIntegrationTest() {
        auto environment = QProcessEnvironment::systemEnvironment();
        environment.insert("DBUS_SESSION_BUS_ADDRESS", bus_.address());
        environment.insert("DBUS_SYSTEM_BUS_ADDRESS", bus_.address());
        player_.setProcessEnvironment(environment);
        player_.setProcessChannelMode(QProcess::ForwardedChannels);
    }
    ~SessionIntegrationTest() override {
        player_.kill();
        player_.waitForFinished();
    }

    static QString clip(const std::string& name, const std::string& size) {
        const auto path = madeClip(name, lavfi("testsrc2=s=" + size + ":d=60") + "-c:v mpeg4");
        return QString::fromStdString(path.string());
    }
    QVariantList call(const char* interface, const char* method, const QVariantList& arguments) {
        auto message = QDBusMessage::createMethodCall(kName, kPath, interface, method);
        message.setArguments(arguments);
        return client_.call(message).arguments();
    }
    QVariant get(const QString& interface, const char* property) {
        const auto answer = call(kProperties, "Get", {interface, property}).value(0);
        return answer.value<QDBusVariant>().variant();
    }
    bool isShown(const QString& title) {
        return runUntil([&] {
            const auto metadata = get("org.mpris.MediaPlayer2.Player", "Metadata");
            return qdbus_cast<QVariantMap>(metadata).value("xesam:title") == title;
        });
    }

    const PrivateBus bus_;
    QDBusConnection client_ = bus_.connection("client");
    QProcess player_;
};

TEST_F(SessionIntegrationTest, theBusControlsTheWindowOfThePresentedPlayer) {
    player_.start(ZELVANE_PLAYER, {clip("small.mkv", "320x180")});
    EXPECT_TRUE(isShown("small.mkv"));
    EXPECT_TRUE(runUntil([&] { return get(kRoot, "CanSetFullscreen").toBool(); }));
    call(kProperties, "Set", {kRoot, "Fullscreen", QVariant::fromValue(QDBusVariant(true))});
    EXPECT_TRUE(runUntil([&] { return get(kRoot, "Fullscreen").toBool(); }));
    call("org.mpris.MediaPlayer2.Player", "OpenUri", {"file://" + clip("second.mkv", "160x90")});
    EXPECT_TRUE(isShown("second.mkv"));
    EXPECT_FALSE(get(kRoot, "Fullscreen").toBool()) << "the window of the second film";
    call(kRoot, "Raise", {});
    call(kRoot, "Quit", {});
    EXPECT_TRUE(runUntil([&] { return player_.state() == QProcess::NotRunning; }));
    EXPECT_EQ(player_.exitStatus(), QProcess::NormalExit);
    EXPECT_EQ(player_.exitCode(), 0);
}

} // namespace
} // namespace zelvane::test
