// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/platform/pulse_audio/private_sound_server.h"

#include <array>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <thread>

#include <fcntl.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ; // NOLINT(readability-redundant-declaration)

namespace zelvane::test {
namespace {

constexpr const char* kNullSink = "module-null-sink sink_name={} format=float32le rate=48000 "
                                  "channels=2";

std::string nullSink(const std::string& name) {
    std::string text = kNullSink;
    return text.replace(text.find("{}"), 2, name);
}

std::vector<char*> pointers(std::vector<std::string>& strings) {
    std::vector<char*> all;
    for (auto& string : strings) {
        all.push_back(string.data());
    }
    all.push_back(nullptr);
    return all;
}

bool isInPath(const std::string& program) {
    // NOLINTNEXTLINE(concurrency-mt-unsafe)
    return std::system(("command -v " + program + " >/dev/null 2>&1").c_str()) == 0;
}

} // namespace

bool PrivateSoundServer::isAvailable() {
    return isInPath("pulseaudio") && isInPath("pactl");
}

std::vector<std::string> PrivateSoundServer::environment() const {
    std::vector<std::string> all;
    for (char** entry = environ; *entry != nullptr; ++entry) {
        const std::string text = *entry;
        if (text.rfind("PULSE_", 0) != 0 && text.rfind("HOME=", 0) != 0 &&
            text.rfind("XDG_RUNTIME_DIR=", 0) != 0) {
            all.push_back(text);
        }
    }
    for (const char* name : {"HOME", "XDG_RUNTIME_DIR", "PULSE_RUNTIME_PATH", "PULSE_STATE_PATH",
                             "PULSE_CONFIG_PATH"}) {
        all.push_back(std::string(name) + "=" + folder_.path().string());
    }
    return all;
}

void PrivateSoundServer::start() {
    std::vector<std::string> arguments{"pulseaudio",
                                       "-n",
                                       "--daemonize=no",
                                       "--fail=yes",
                                       "--exit-idle-time=-1",
                                       "--use-pid-file=no",
                                       "--disallow-exit=no",
                                       "--realtime=no",
                                       "--high-priority=no",
                                       "--disable-shm=yes",
                                       "--enable-memfd=no",
                                       "-L",
                                       nullSink("n1"),
                                       "-L",
                                       nullSink("n2"),
                                       "-L",
                                       "module-native-protocol-unix socket=" + socketPath() +
                                           " auth-anonymous=1 auth-cookie-enabled=0"};
    auto variables = environment();
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    const std::string log = (folder_.path() / "log").string();
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, log.c_str(),
                                     O_CREAT | O_WRONLY | O_APPEND, 0600);
    const int status = posix_spawnp(&process_, "pulseaudio", &actions, nullptr,
                                    pointers(arguments).data(), pointers(variables).data());
    posix_spawn_file_actions_destroy(&actions);
    if (status != 0) {
        throw std::runtime_error("cannot start pulseaudio");
    }
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (!takesConnections()) {
        if (std::chrono::steady_clock::now() > deadline) {
            throw std::runtime_error("pulseaudio takes no connections");
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    pactl("set-default-sink n1");
}

void PrivateSoundServer::kill() {
    if (process_ > 0) {
        ::kill(process_, SIGKILL);
        waitpid(process_, nullptr, 0);
        process_ = 0;
    }
    unlink(socketPath().c_str());
}

bool PrivateSoundServer::takesConnections() const {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::strncpy(address.sun_path, socketPath().c_str(), sizeof(address.sun_path) - 1);
    const int descriptor = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const bool connected =
        connect(descriptor, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) == 0;
    close(descriptor);
    return connected;
}

std::string PrivateSoundServer::pactl(const std::string& arguments) const {
    const std::string command = "LC_ALL=C HOME=" + folder_.path().string() + " pactl -s " +
                                address() + " " + arguments + " 2>&1";
    // NOLINTNEXTLINE(cert-env33-c)
    FILE* pipe = popen(command.c_str(), "r");
    std::string output;
    std::array<char, 4096> part{};
    while (const auto count = fread(part.data(), 1, part.size(), pipe)) {
        output.append(part.data(), count);
    }
    pclose(pipe);
    return output;
}

} // namespace zelvane::test
