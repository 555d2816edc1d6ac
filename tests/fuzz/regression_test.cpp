// SPDX-License-Identifier: GPL-3.0-or-later
//
// What the fuzzers once found, through the same functions in which they found it.

#include <chrono>
#include <filesystem>
#include <fstream>

#include <gtest/gtest.h>
#include <sys/resource.h>

#include "fuzz/fuzz_target.h"

namespace zelvane {
namespace {

namespace fs = std::filesystem;

std::string bytesOf(const fs::path& path) {
    std::ifstream stream(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool kMemoryTells = false;
#else
constexpr bool kMemoryTells = true;
#endif

/// The most that the process ever had, in kilobytes.
long peakMemory() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss;
}

void replay(fuzz::Target target, const fs::path& file) {
    // As much as the fuzzers give, and more for sanitizers on a busy machine.
    constexpr std::chrono::seconds kLimit{20};
    SCOPED_TRACE(file);
    const std::string bytes = bytesOf(file);
    const auto start = std::chrono::steady_clock::now();
    target({reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()});
    EXPECT_LT(std::chrono::steady_clock::now() - start, kLimit);
    if (kMemoryTells) {
        EXPECT_LT(peakMemory(), 512 * 1024);
    }
}

TEST(Regression, whatWasFoundOnceIsHarmless) {
    fuzz::prepare();
    for (const auto& folder : fs::directory_iterator(ZELVANE_REGRESSION_FOLDER)) {
        const auto target = fuzz::targets().find(folder.path().filename());
        ASSERT_NE(target, fuzz::targets().end()) << folder.path() << " is of no target";
        for (const auto& file : fs::directory_iterator(folder)) {
            replay(target->second, file.path());
        }
    }
}

TEST(Regression, eachTargetTakesNothing) {
    fuzz::prepare();
    EXPECT_FALSE(fuzz::targets().empty());
    for (const auto& [name, target] : fuzz::targets()) {
        SCOPED_TRACE(name);
        target({});
    }
}

} // namespace
} // namespace zelvane
