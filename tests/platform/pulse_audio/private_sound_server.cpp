// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/platform/pulse_audio/private_sound_server.h"

#include <array>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <iterator>
#include <sstream>
#include <stdexcept>
#include <string_view>

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/syscall.h>
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
    all.reserve(strings.size() + 1);
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
        if (text.rfind("PULSE_", 0) != 0 && text.rfind("NOTIFY_SOCKET=", 0) != 0 &&
            text.rfind("HOME=", 0) != 0 && text.rfind("XDG_RUNTIME_DIR=", 0) != 0) {
            all.push_back(text);
        }
    }
    for (const char* name : {"HOME", "XDG_RUNTIME_DIR", "PULSE_RUNTIME_PATH", "PULSE_STATE_PATH",
                             "PULSE_CONFIG_PATH"}) {
        all.push_back(std::string(name) + "=" + folder_.path().string());
    }
    return all;
}

/// Receives the readiness message of a daemon, by the protocol of sd_notify(3). PulseAudio sends it
/// when its modules are loaded.
class PrivateSoundServer::Readiness {
  public:
    explicit Readiness(const std::string& path)
        : descriptor_(socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {
        unlink(path.c_str());
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        path.copy(address.sun_path, sizeof(address.sun_path) - 1);
        if (bind(descriptor_, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) != 0) {
            throw std::runtime_error("cannot listen for a daemon's message");
        }
    }
    ~Readiness() { close(descriptor_); }
    Readiness(const Readiness&) = delete;
    Readiness& operator=(const Readiness&) = delete;

    /// Returns false when the process ends before, or after a timeout.
    bool waitFor(pid_t process) const {
        constexpr int kTimeout = 20'000;
        const int end = static_cast<int>(syscall(SYS_pidfd_open, process, 0));
        std::array<pollfd, 2> events{pollfd{descriptor_, POLLIN, 0}, pollfd{end, POLLIN, 0}};
        bool isReady = false;
        while (!isReady && poll(events.data(), events.size(), kTimeout) > 0 &&
               events[0].revents != 0) {
            std::array<char, 512> message{};
            const auto size = recv(descriptor_, message.data(), message.size(), 0);
            const std::string_view text(message.data(), size > 0 ? static_cast<size_t>(size) : 0);
            isReady = text.find("READY=1") != std::string_view::npos;
        }
        close(end);
        return isReady;
    }

  private:
    int descriptor_;
};

void PrivateSoundServer::start() {
    std::istringstream options(
        "pulseaudio -n --daemonize=no --fail=yes --exit-idle-time=-1 --use-pid-file=no"
        " --disallow-exit=no --realtime=no --high-priority=no --disable-shm=yes --enable-memfd=no");
    std::vector<std::string> arguments{std::istream_iterator<std::string>(options), {}};
    for (const auto& module : {nullSink("n1"), nullSink("n2"),
                               "module-native-protocol-unix socket=" + socketPath() +
                                   " auth-anonymous=1 auth-cookie-enabled=0"}) {
        arguments.insert(arguments.end(), {"-L", module});
    }
    const std::string notifySocket = (folder_.path() / "notify.sock").string();
    const Readiness readiness(notifySocket);
    auto variables = environment();
    variables.push_back("NOTIFY_SOCKET=" + notifySocket);
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
    if (!readiness.waitFor(process_)) {
        throw std::runtime_error("pulseaudio does not start");
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
