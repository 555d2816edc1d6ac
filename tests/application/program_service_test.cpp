// SPDX-License-Identifier: GPL-3.0-or-later
//
// Processes of the player in one session, and how they share their files.
#include <csignal>

#include <sys/socket.h>
#include <sys/un.h>

#include <gtest/gtest.h>

#include "foundation/file_descriptor.h"
#include "platform/program_service/session_bus_probe.h"
#include "tests/application/player_process.h"
#include "tests/player_window/private_bus.h"

namespace zelvane {
namespace {

class ProgramServiceTest : public testing::Test {
  protected:
    QVariantList call(const QString& method, const QVariantList& arguments) const {
        return test::callOnBus(connection_, "org.zelvane.Player", "/org/zelvane/Player",
                               "org.freedesktop.Application", method, arguments);
    }

    const test::PrivateBus bus_;
    const QDBusConnection connection_ = bus_.connection("test");
    const std::filesystem::path film_ =
        test::madeClip("service.mkv", test::lavfi("color=red:s=64x48:d=60") + "-c:v mpeg4");
    const QString path_ = QString::fromStdString(film_.string());
    const QString folder_ = QString::fromStdString(film_.parent_path().string());
};

TEST_F(ProgramServiceTest, theFirstProcessOpensTheFilesOfTheNextOnes) {
    test::PlayerProcess first(bus_.address(), {path_});
    ASSERT_TRUE(first.hasWindowsOf({"service.mkv"}));
    test::PlayerProcess second(bus_.address(), {"service.mkv"}, folder_);
    EXPECT_TRUE(second.endsWith(0));
    EXPECT_TRUE(first.hasWindowsOf({"service.mkv", "service.mkv"}));
    test::PlayerProcess third(bus_.address(), {});
    EXPECT_TRUE(third.endsWith(0)) << "it activates the first";
    EXPECT_FALSE(second.hasWrittenSession() || third.hasWrittenSession());

    EXPECT_EQ(call("ActivateAction", {"explode", QVariantList(), QVariantMap()}),
              QVariantList{"refused"});
    call("ActivateAction", {"quit", QVariantList(), QVariantMap()});
    EXPECT_TRUE(first.endsWith(0));
    test::PlayerProcess fourth(bus_.address(), {path_});
    EXPECT_TRUE(fourth.hasWindowsOf({"service.mkv"}));
}

TEST_F(ProgramServiceTest, aProcessThatHangsDoesNotKeepTheNextOneFromItsFiles) {
    test::PlayerProcess first(bus_.address(), {path_});
    ASSERT_TRUE(first.hasWindowsOf({"service.mkv"}));
    first.signal(SIGSTOP);
    const test::PlayerProcess second(bus_.address(), {path_});
    EXPECT_TRUE(second.hasWindowsOf({"service.mkv"}));
    first.signal(SIGKILL);
    test::PlayerProcess third(bus_.address(), {path_});
    EXPECT_TRUE(third.endsWith(0)) << "the second has the name now";
    EXPECT_TRUE(second.hasWindowsOf({"service.mkv", "service.mkv"}));
}

TEST_F(ProgramServiceTest, aBusThatHangsDoesNotKeepAProcessFromItsFiles) {
    const test::TemporaryFolder folder;
    sockaddr_un address{AF_UNIX, {}};
    const std::string path = (folder.path() / "bus").string();
    path.copy(address.sun_path, sizeof(address.sun_path) - 1);
    // Connections wait to be accepted.
    const FileDescriptor bus(socket(AF_UNIX, SOCK_STREAM, 0));
    ASSERT_EQ(bind(bus.get(), reinterpret_cast<sockaddr*>(&address), sizeof(address)), 0);
    ASSERT_EQ(listen(bus.get(), 10), 0);
    const test::PlayerProcess player("unix:path=" + QString::fromStdString(path), {path_});
    EXPECT_TRUE(player.hasWindowsOf({"service.mkv"}));
}

TEST(SessionBusProbe, findsTheSocketInAnAddress) {
    EXPECT_EQ(localSocketOf("unix:path=/tmp/a%20b,guid=17"), "/tmp/a b");
    EXPECT_EQ(localSocketOf("tcp:host=a,port=1;unix:guid=1,abstract=x"), std::string("\0x", 2));
    for (const char* other : {"", "disabled:", "unix:", "unix:path=", "unix:tmpdir=/tmp", ";,=;"}) {
        EXPECT_FALSE(localSocketOf(other)) << other;
    }
}

} // namespace
} // namespace zelvane
