// SPDX-License-Identifier: GPL-3.0-or-later
//
// Processes of the player in one session, and how they share their files.
#include <csignal>

#include <sys/socket.h>
#include <sys/un.h>

#include <QProcess>

#include <gmock/gmock.h>

#include "application/session_state.h"
#include "foundation/file_bookmark.h"
#include "foundation/file_descriptor.h"
#include "platform/program_service/session_bus_probe.h"
#include "tests/player_window/private_bus.h"
#include "tests/player_window/window_test_support.h"
#include "tests/support/clips.h"

namespace zelvane {
namespace {

/// One process, with settings and a session of its own.
class PlayerProcess {
  public:
    PlayerProcess(const QString& bus, const QStringList& files, const QString& folder = ".") {
        auto environment = QProcessEnvironment::systemEnvironment();
        for (const char* name : {"XDG_STATE_HOME", "XDG_CONFIG_HOME"}) {
            environment.insert(name, QString::fromStdString(folder_.path().string()));
        }
        environment.insert("DBUS_SESSION_BUS_ADDRESS", bus);
        process_.setProcessEnvironment(environment);
        process_.setStandardErrorFile(QProcess::nullDevice());
        process_.setWorkingDirectory(folder);
        process_.start(ZELVANE_PLAYER, files);
    }
    ~PlayerProcess() {
        process_.kill();
        process_.waitForFinished();
    }
    PlayerProcess(const PlayerProcess&) = delete;
    PlayerProcess& operator=(const PlayerProcess&) = delete;

    bool hasWindowsOf(const std::vector<std::string>& names) const {
        const auto session = folder_.path() / "zelvane-player/session.json";
        return test::runUntil([&] {
            std::vector<std::string> open;
            for (const auto& window : StoredSession::fromData(test::bytesOf(session)).windows) {
                open.push_back(FileBookmark::decode(window)->url().lastPathComponent());
            }
            return open == names;
        });
    }
    bool endsWith(int status) {
        return test::runUntil([&] { return process_.state() == QProcess::NotRunning; }) &&
               process_.exitStatus() == QProcess::NormalExit && process_.exitCode() == status;
    }
    bool hasWrittenSession() const {
        return std::filesystem::exists(folder_.path() / "zelvane-player");
    }
    void signal(int number) const { kill(static_cast<pid_t>(process_.processId()), number); }

  private:
    const test::TemporaryFolder folder_;
    QProcess process_;
};

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
    PlayerProcess first(bus_.address(), {path_});
    ASSERT_TRUE(first.hasWindowsOf({"service.mkv"}));
    PlayerProcess second(bus_.address(), {"service.mkv"}, folder_);
    EXPECT_TRUE(second.endsWith(0));
    EXPECT_TRUE(first.hasWindowsOf({"service.mkv", "service.mkv"}));
    PlayerProcess third(bus_.address(), {});
    EXPECT_TRUE(third.endsWith(0)) << "it activates the first";
    EXPECT_FALSE(second.hasWrittenSession() || third.hasWrittenSession());

    EXPECT_EQ(call("ActivateAction", {"explode", QVariantList(), QVariantMap()}),
              QVariantList{"refused"});
    call("ActivateAction", {"quit", QVariantList(), QVariantMap()});
    EXPECT_TRUE(first.endsWith(0));
    PlayerProcess fourth(bus_.address(), {path_});
    EXPECT_TRUE(fourth.hasWindowsOf({"service.mkv"}));
}

TEST_F(ProgramServiceTest, aProcessThatHangsDoesNotKeepTheNextOneFromItsFiles) {
    PlayerProcess first(bus_.address(), {path_});
    ASSERT_TRUE(first.hasWindowsOf({"service.mkv"}));
    first.signal(SIGSTOP);
    const PlayerProcess second(bus_.address(), {path_});
    EXPECT_TRUE(second.hasWindowsOf({"service.mkv"}));
    first.signal(SIGKILL);
    PlayerProcess third(bus_.address(), {path_});
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
    const PlayerProcess player("unix:path=" + QString::fromStdString(path), {path_});
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
