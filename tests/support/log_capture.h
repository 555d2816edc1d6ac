// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <algorithm>
#include <mutex>
#include <string>
#include <vector>

#include "foundation/log.h"

namespace zelvane::test {

/// Collects the messages that are logged during its lifetime.
class LogCapture {
  public:
    std::vector<std::string> lines() const {
        const std::lock_guard guard(mutex_);
        return lines_;
    }
    /// The number of lines that contain `part`.
    std::size_t count(std::string_view part) const {
        const auto all = lines();
        return static_cast<std::size_t>(
            std::count_if(all.begin(), all.end(), [&](const std::string& line) {
                return line.find(part) != std::string::npos;
            }));
    }

  private:
    mutable std::mutex mutex_;
    std::vector<std::string> lines_;
    ScopedLogSink sink_{[this](std::string_view line) {
        const std::lock_guard guard(mutex_);
        lines_.emplace_back(line);
    }};
};

} // namespace zelvane::test
