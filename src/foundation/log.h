// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <string>
#include <string_view>

#include <fmt/format.h>

namespace zelvane {

/// Writes one message of the engine or the application: a line on standard error with the time, the
/// program and its process id, or the bare message where standard error is the system journal,
/// which adds these itself. Any thread; lines of different threads never mix.
void logMessage(std::string_view message);

template <class... Args>
void logMessage(fmt::format_string<Args...> format, Args&&... args) {
    logMessage(std::string_view(fmt::format(format, std::forward<Args>(args)...)));
}

/// Sends all messages to `sink` for as long as it lives, in place of standard error. Tests use it
/// to read the log. One at a time; the sink is called with a lock held and must not log.
class ScopedLogSink {
  public:
    explicit ScopedLogSink(std::function<void(std::string_view)> sink);
    ~ScopedLogSink();
    ScopedLogSink(const ScopedLogSink&) = delete;
    ScopedLogSink& operator=(const ScopedLogSink&) = delete;
};

/// Ends the process after logging `message`: for a broken internal contract, never for bad input.
[[noreturn]] void fatalError(std::string_view message);

/// "<ClassName: 0x...>": how log lines name the object that speaks.
std::string objectIdentifier(std::string_view className, const void* object);

} // namespace zelvane
