// SPDX-License-Identifier: GPL-3.0-or-later
#include <QFile>
#include <QProcess>

#include <gmock/gmock.h>

#include "tests/player_window/private_bus.h"
#include "tests/support/clips.h"

namespace zelvane {
namespace {

/// A process that ends with this object.
struct Program {
    ~Program() {
        process.terminate();
        process.waitForFinished();
    }
    QProcess process;
};

TEST(Accessibility, assistiveTechnologyUsesThePlayer) {
    if (!QFile::exists("/usr/libexec/at-spi-bus-launcher")) {
        GTEST_SKIP() << "at-spi2-core is not installed";
    }
    const test::PrivateBus bus;
    auto environment = QProcessEnvironment::systemEnvironment();
    environment.insert("DBUS_SESSION_BUS_ADDRESS", bus.address());
    environment.insert("QT_LINUX_ACCESSIBILITY_ALWAYS_ON", "1");
    const auto clip =
        test::madeClip("spoken.mp4", test::lavfi("testsrc2=s=64x48:d=200:r=5") + "-c:v mpeg4");
    Program player;
    player.process.setProcessEnvironment(environment);
    player.process.setStandardErrorFile(QProcess::nullDevice());
    player.process.start(ZELVANE_PLAYER, {QString::fromStdString(clip.string())});

    Program walk;
    walk.process.setProcessEnvironment(environment);
    walk.process.start("/usr/bin/python3", {ZELVANE_ACCESSIBILITY_WALK});
    ASSERT_TRUE(test::runUntil([&] { return walk.process.state() == QProcess::NotRunning; }));
    const std::string output = walk.process.readAll().toStdString();
    if (walk.process.exitCode() == 77) {
        GTEST_SKIP() << "python3-gi or gir1.2-atspi-2.0 is not installed: " << output;
    }
    EXPECT_EQ(walk.process.exitCode(), 0) << walk.process.readAllStandardError().toStdString();
    for (const char* line : {
             "frame|spoken.mp4||",
             "push button|Mute|Mute (M)|focusable|Press,SetFocus|\n",
             "slider|Volume|100 %|focusable|Increase,Decrease,SetFocus|0..100\n",
             "slider|Scrubber|",
             "|focusable|Increase,Decrease,SetFocus|0..200\n",
             "|Show End Time (T)|focusable|Press,SetFocus|\n",
             "label|spoken.mp4|",
             "push button|Close|",
             "pressing Pause makes it Play\n",
             "the scrubber is at 1 minute, 40 seconds\n",
             "an increment is 5 % of 200 s\n",
             "spoken: Volume: muted\n",
         }) {
        EXPECT_THAT(output, testing::HasSubstr(line));
    }
}

} // namespace
} // namespace zelvane
