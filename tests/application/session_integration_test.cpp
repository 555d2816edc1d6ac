// SPDX-License-Identifier: GPL-3.0-or-later
#include <QProcess>
#include <QProcessEnvironment>

#include <gtest/gtest.h>

#include "tests/platform/mpris/mpris_client.h"
#include "tests/support/clips.h"

namespace zelvane::test {
namespace {

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
    bool isShown(const QString& title) {
        return runUntil([&] { return client_.metadata().value("xesam:title") == title; });
    }

    const PrivateBus bus_;
    const MprisClient client_{bus_.connection("client")};
    QProcess player_;
};

TEST_F(SessionIntegrationTest, theBusControlsTheWindowOfThePresentedPlayer) {
    player_.start(ZELVANE_PLAYER, {clip("small.mkv", "320x180")});
    EXPECT_TRUE(isShown("small.mkv"));
    EXPECT_TRUE(runUntil([&] { return client_.get(kMprisRoot, "CanSetFullscreen").toBool(); }));
    client_.set(kMprisRoot, "Fullscreen", true);
    EXPECT_TRUE(runUntil([&] { return client_.get(kMprisRoot, "Fullscreen").toBool(); }));
    client_.call(kMprisPlayer, "OpenUri", {"file://" + clip("second.mkv", "160x90")});
    EXPECT_TRUE(isShown("second.mkv"));
    EXPECT_FALSE(client_.get(kMprisRoot, "Fullscreen").toBool()) << "the window of the second film";
    client_.call(kMprisRoot, "Raise");
    client_.call(kMprisRoot, "Quit");
    EXPECT_TRUE(runUntil([&] { return player_.state() == QProcess::NotRunning; }));
    EXPECT_EQ(player_.exitStatus(), QProcess::NormalExit);
    EXPECT_EQ(player_.exitCode(), 0);
}

} // namespace
} // namespace zelvane::test
