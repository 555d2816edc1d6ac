// SPDX-License-Identifier: GPL-3.0-or-later
#include "process_usage.h"

#include <sys/resource.h>

namespace zelvane::inspect {

ProcessUsage ProcessUsage::now() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    const auto seconds = [](const timeval& time) {
        return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) * 1e-6;
    };
    constexpr std::int64_t kKibibyte = 1024;
    return {seconds(usage.ru_utime) + seconds(usage.ru_stime), usage.ru_maxrss * kKibibyte};
}

} // namespace zelvane::inspect
