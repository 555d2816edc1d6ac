// SPDX-License-Identifier: GPL-3.0-or-later
//
// Replays findings of the fuzzers through the targets that found them.

#include <chrono>
#include <filesystem>

#include <gtest/gtest.h>
#include <sys/resource.h>

#include "fuzz/fuzz_target.h"
#include "tests/support/clips.h"

namespace zelvane {
namespace {

namespace fs = std::filesystem;

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool kMeasuresMemory = false;
#else
constexpr bool kMeasuresMemory = true;
#endif

/// The largest resident set of the process, in KiB.
long peakMemory() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss;
}

void replay(fuzz::Target target, const fs::path& file) {
    // The limit of the fuzzers is 5 s; sanitizers on a busy machine need more.
    constexpr std::chrono::seconds kLimit{20};
    SCOPED_TRACE(file);
    const std::string bytes = test::bytesOf(file);
    const auto start = std::chrono::steady_clock::now();
    target({reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()});
    EXPECT_LT(std::chrono::steady_clock::now() - start, kLimit);
    if (kMeasuresMemory) {
        EXPECT_LT(peakMemory(), 512 * 1024);
    }
}

TEST(Regression, replaysEachFindingWithinItsLimits) {
    fuzz::prepare();
    for (const auto& folder : fs::directory_iterator(ZELVANE_REGRESSION_FOLDER)) {
        const auto target = fuzz::targets().find(folder.path().filename());
        ASSERT_NE(target, fuzz::targets().end()) << folder.path() << " has no target";
        for (const auto& file : fs::directory_iterator(folder)) {
            replay(target->second, file.path());
        }
    }
}

TEST(Regression, eachTargetAcceptsEmptyInput) {
    fuzz::prepare();
    EXPECT_FALSE(fuzz::targets().empty());
    for (const auto& [name, target] : fuzz::targets()) {
        SCOPED_TRACE(name);
        target({});
    }
}

} // namespace
} // namespace zelvane
