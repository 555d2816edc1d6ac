// SPDX-License-Identifier: GPL-3.0-or-later
#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <string>

#include <gmock/gmock.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <QApplication>

#include "foundation/dispatch.h"
#include "player_window/video_widget.h"
#include "tests/support/clips.h"

namespace {

/// An X server of this test program, without a window manager, so that tests do not depend on the
/// desktop. Its screen has 1280 x 800 pixels.
class PrivateXServer {
  public:
    PrivateXServer() {
        std::array<int, 2> ends{};
        if (pipe(ends.data()) != 0) {
            return;
        }
        child_ = fork();
        if (child_ == 0) {
            becomeServer(ends[1]);
        }
        close(ends[1]);
        readDisplay(ends[0]);
        close(ends[0]);
    }
    ~PrivateXServer() {
        if (child_ > 0) {
            kill(child_, SIGTERM);
            waitpid(child_, nullptr, 0);
        }
    }
    PrivateXServer(const PrivateXServer&) = delete;
    PrivateXServer& operator=(const PrivateXServer&) = delete;

    /// For example ":7"; empty when the server did not start.
    const std::string& display() const { return display_; }

  private:
    [[noreturn]] static void becomeServer(int displayDescriptor) {
        // The server also ends when the test program crashes.
        prctl(PR_SET_PDEATHSIG, SIGTERM);
        const std::string descriptor = std::to_string(displayDescriptor);
        execlp("Xvfb", "Xvfb", "-displayfd", descriptor.c_str(), "-screen", "0", "1280x800x24",
               "+extension", "GLX", "-nolisten", "tcp", "-noreset", nullptr);
        _exit(127);
    }

    void readDisplay(int descriptor) {
        std::string number;
        char next = 0;
        while (read(descriptor, &next, 1) == 1 && next != '\n') {
            number += next;
        }
        if (!number.empty()) {
            display_ = ":" + number;
        }
    }

    pid_t child_ = -1;
    std::string display_;
};

int runWithWindows(int argc, char** argv) {
    const PrivateXServer server;
    if (server.display().empty()) {
        ADD_FAILURE() << "Xvfb could not be started";
        return 1;
    }
    qputenv("DISPLAY", QByteArray::fromStdString(server.display()));
    qputenv("QT_QPA_PLATFORM", "xcb");
    // The preferences of the developer's desktop must not change results.
    qputenv("DBUS_SESSION_BUS_ADDRESS", "disabled:");
    // Nor must the windows of an earlier run come back, or files be added to the developer's list.
    const zelvane::test::TemporaryFolder folder;
    for (const char* name : {"XDG_STATE_HOME", "XDG_DATA_HOME"}) {
        qputenv(name, QByteArray::fromStdString(folder.path().string()));
    }
    // The tests draw OpenGL in software, which the player never does.
    zelvane::shareGraphicsContexts();
    const QApplication application(argc, argv);
    const int result = RUN_ALL_TESTS();
    zelvane::dispatch::waitForQuiescence(std::chrono::seconds(5));
    return result;
}

} // namespace

int main(int argc, char** argv) {
    testing::InitGoogleMock(&argc, argv);
    if (testing::GTEST_FLAG(list_tests)) {
        return RUN_ALL_TESTS();
    }
    return runWithWindows(argc, argv);
}
