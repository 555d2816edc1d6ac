// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <string>
#include <string_view>

#include <fmt/format.h>

namespace zelvane {

/// Writes one message as a line on standard error, with time, program name and process id. If
/// standard error is the system journal, which adds these, it writes only the message. Any thread;
/// lines of different threads do not mix.
void logMessage(std::string_view message);

template <class... Args>
void logMessage(fmt::format_string<Args...> format, Args&&... args) {
    logMessage(std::string_view(fmt::format(format, std::forward<Args>(args)...)));
}

/// Sends all messages to `sink` instead of standard error during its lifetime; used by tests. Only
/// one may exist at a time. The sink is called with a lock held and must not log.
class ScopedLogSink {
  public:
    explicit ScopedLogSink(std::function<void(std::string_view)> sink);
    ~ScopedLogSink();
    ScopedLogSink(const ScopedLogSink&) = delete;
    ScopedLogSink& operator=(const ScopedLogSink&) = delete;
};

/// Logs `message` and aborts the process. For broken internal contracts, never for bad input.
[[noreturn]] void fatalError(std::string_view message);

/// "<ClassName: 0x...>": the name of an object in log lines.
std::string objectIdentifier(std::string_view className, const void* object);

} // namespace zelvane
