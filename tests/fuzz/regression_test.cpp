// SPDX-License-Identifier: GPL-3.0-or-later
//
// What the fuzzers once found, through the same functions in which they found it.

#include <chrono>
#include <filesystem>
#include <fstream>

#include <gtest/gtest.h>

#include "fuzz/fuzz_target.h"

namespace zelvane {
namespace {

namespace fs = std::filesystem;

std::string bytesOf(const fs::path& path) {
    std::ifstream stream(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

void replay(fuzz::Target target, const fs::path& file) {
    // As much as the fuzzers give, and more for sanitizers on a busy machine.
    constexpr std::chrono::seconds kLimit{20};
    SCOPED_TRACE(file);
    const std::string bytes = bytesOf(file);
    const auto start = std::chrono::steady_clock::now();
    target({reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()});
    EXPECT_LT(std::chrono::steady_clock::now() - start, kLimit);
}

TEST(Regression, whatWasFoundOnceIsHarmless) {
    fuzz::beQuiet();
    for (const auto& folder : fs::directory_iterator(ZELVANE_REGRESSION_FOLDER)) {
        const auto target = fuzz::targets().find(folder.path().filename());
        ASSERT_NE(target, fuzz::targets().end()) << folder.path() << " is of no target";
        for (const auto& file : fs::directory_iterator(folder)) {
            replay(target->second, file.path());
        }
    }
}

TEST(Regression, eachTargetTakesNothing) {
    fuzz::beQuiet();
    EXPECT_FALSE(fuzz::targets().empty());
    for (const auto& [name, target] : fuzz::targets()) {
        SCOPED_TRACE(name);
        target({});
    }
}

} // namespace
} // namespace zelvane
