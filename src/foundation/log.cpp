// SPDX-License-Identifier: GPL-3.0-or-later
#include "foundation/log.h"

#include <array>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <memory>
#include <mutex>

#include <sys/stat.h>
#include <unistd.h>

namespace zelvane {
namespace {

struct Logger {
    std::mutex mutex;
    std::function<void(std::string_view)> sink;
};

Logger& logger() {
    // Never destroyed: detached threads may log while static objects are destroyed.
    static Logger& instance = *std::make_unique<Logger>().release();
    return instance;
}

/// systemd passes the device and inode of the journal stream in JOURNAL_STREAM.
bool standardErrorIsJournal() {
    const char* stream = std::getenv("JOURNAL_STREAM"); // NOLINT(concurrency-mt-unsafe)
    struct stat info {};
    return stream != nullptr && fstat(STDERR_FILENO, &info) == 0 &&
           fmt::format("{}:{}", info.st_dev, info.st_ino) == stream;
}

std::string linePrefix() {
    using std::chrono::system_clock;
    const auto now = system_clock::now();
    const std::time_t seconds = system_clock::to_time_t(now);
    const auto milliseconds =
        std::chrono::duration_cast<std::chrono::milliseconds>(now.time_since_epoch()).count() %
        1000;
    std::tm local{};
    localtime_r(&seconds, &local);
    std::array<char, 32> stamp{};
    std::strftime(stamp.data(), stamp.size(), "%Y-%m-%d %H:%M:%S", &local);
    return fmt::format("{}.{:03} {}[{}] ", stamp.data(), milliseconds,
                       program_invocation_short_name, getpid());
}

} // namespace

void logMessage(std::string_view message) {
    static const bool journal = standardErrorIsJournal();
    Logger& shared = logger();
    const std::lock_guard lock(shared.mutex);
    if (shared.sink) {
        shared.sink(message);
        return;
    }
    const std::string line =
        journal ? fmt::format("{}\n", message) : fmt::format("{}{}\n", linePrefix(), message);
    std::fwrite(line.data(), 1, line.size(), stderr);
}

ScopedLogSink::ScopedLogSink(std::function<void(std::string_view)> sink) {
    const std::lock_guard lock(logger().mutex);
    logger().sink = std::move(sink);
}

ScopedLogSink::~ScopedLogSink() {
    const std::lock_guard lock(logger().mutex);
    logger().sink = nullptr;
}

void fatalError(std::string_view message) {
    // Written directly to standard error, because the sink may be the fault.
    const std::string line = fmt::format("{}Fatal error: {}\n", linePrefix(), message);
    std::fwrite(line.data(), 1, line.size(), stderr);
    std::abort();
}

std::string objectIdentifier(std::string_view className, const void* object) {
    return fmt::format("<{}: {}>", className, object);
}

} // namespace zelvane
