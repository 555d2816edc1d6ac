// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <string_view>

namespace zelvane {

/// The address of a socket in the file system or, after a zero byte, of one without a file.
using SocketName = std::string;

/// The first local socket in the address of a bus; none where it has no such socket.
std::optional<SocketName> localSocketOf(std::string_view busAddress);

/// Whether the bus of the session answers within `timeout`; true for one that is not local. Reads
/// the environment.
bool doesSessionBusAnswer(std::chrono::milliseconds timeout);

/// Disconnects this process from a bus that hangs: the toolkit would wait for it for minutes. Call
/// it before the application object is made, and before other threads read the environment.
void avoidHungSessionBus();

} // namespace zelvane
