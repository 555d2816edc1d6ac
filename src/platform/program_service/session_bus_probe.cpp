// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/program_service/session_bus_probe.h"

#include <algorithm>
#include <cerrno>
#include <cstddef>

#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <QByteArray>

#include <fmt/format.h>

#include "foundation/file_descriptor.h"
#include "foundation/log.h"

namespace zelvane {
namespace {

constexpr std::chrono::milliseconds kTimeout(1000);

std::string sessionBusAddress() {
    const QByteArray address = qgetenv("DBUS_SESSION_BUS_ADDRESS");
    const QByteArray folder = qgetenv("XDG_RUNTIME_DIR");
    if (address.isEmpty() && !folder.isEmpty()) {
        return "unix:path=" + folder.toPercentEncoding("/").toStdString() + "/bus";
    }
    return address.toStdString();
}

/// The value of a key in "key=value,key=value", without percent escapes; empty when it is absent.
std::string valueOf(std::string_view key, std::string_view pairs) {
    while (!pairs.empty()) {
        const auto pair = pairs.substr(0, pairs.find(','));
        const auto equals = pair.find('=');
        if (pair.substr(0, equals) == key && equals != std::string_view::npos) {
            const auto value = pair.substr(equals + 1);
            return QByteArray::fromPercentEncoding(
                       QByteArray(value.data(), static_cast<qsizetype>(value.size())))
                .toStdString();
        }
        pairs.remove_prefix(std::min(pair.size() + 1, pairs.size()));
    }
    return {};
}

FileDescriptor makeSocket() {
    return FileDescriptor(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
}

/// Returns 0 or the error.
int connectTo(const SocketName& name, const FileDescriptor& bus) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (name.size() >= sizeof(address.sun_path)) {
        return ENAMETOOLONG;
    }
    name.copy(&address.sun_path[0], name.size());
    // A socket without a file has no terminating zero.
    const std::size_t zero = name.front() == '\0' ? 0 : 1;
    const auto length =
        static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + name.size() + zero);
    // NOLINTNEXTLINE(cppcoreguidelines-pro-type-reinterpret-cast): as the interface demands
    return connect(bus.get(), reinterpret_cast<const sockaddr*>(&address), length) == 0 ? 0 : errno;
}

/// Begins the authentication of D-Bus: its answer needs no state at the bus.
bool doesAnswer(const FileDescriptor& bus, std::chrono::milliseconds timeout) {
    std::string request(1, '\0');
    request += "AUTH EXTERNAL ";
    for (const char digit : std::to_string(getuid())) {
        request += fmt::format("{:02x}", digit);
    }
    request += "\r\n";
    if (send(bus.get(), request.data(), request.size(), MSG_NOSIGNAL) < 0) {
        return true;
    }
    pollfd readable{bus.get(), POLLIN, 0};
    int count = 0;
    do {
        count = poll(&readable, 1, static_cast<int>(timeout.count()));
    } while (count < 0 && errno == EINTR);
    return count != 0;
}

} // namespace

std::optional<SocketName> localSocketOf(std::string_view busAddress) {
    constexpr std::string_view kUnix = "unix:";
    while (!busAddress.empty()) {
        const auto entry = busAddress.substr(0, busAddress.find(';'));
        if (entry.substr(0, kUnix.size()) == kUnix) {
            const auto pairs = entry.substr(kUnix.size());
            if (auto path = valueOf("path", pairs); !path.empty()) {
                return path;
            }
            if (const auto name = valueOf("abstract", pairs); !name.empty()) {
                return std::string(1, '\0') + name;
            }
        }
        busAddress.remove_prefix(std::min(entry.size() + 1, busAddress.size()));
    }
    return std::nullopt;
}

bool doesSessionBusAnswer(std::chrono::milliseconds timeout) {
    const auto name = localSocketOf(sessionBusAddress());
    if (!name) {
        return true;
    }
    const FileDescriptor bus = makeSocket();
    const int error = connectTo(*name, bus);
    // The toolkit meets other errors at once too.
    return error == 0 ? doesAnswer(bus, timeout) : error != EAGAIN;
}

void avoidHungSessionBus() {
    if (!doesSessionBusAnswer(kTimeout)) {
        logMessage("The session bus does not answer: the player runs without it.");
        qputenv("DBUS_SESSION_BUS_ADDRESS", "disabled:");
    }
}

} // namespace zelvane
