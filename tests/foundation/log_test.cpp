// SPDX-License-Identifier: GPL-3.0-or-later
#include <string>
#include <thread>

#include <gmock/gmock.h>

#include "foundation/log.h"
#include "tests/support/log_capture.h"

namespace zelvane {
namespace {

TEST(Log, writesALineWithTimeProgramAndProcessID) {
    testing::internal::CaptureStderr();
    logMessage("braces {} stay");
    logMessage("{} of {}", 1, "two");
    const std::string written = testing::internal::GetCapturedStderr();
    const std::string prefix =
        "[0-9]{4}-[0-9]{2}-[0-9]{2} [0-9]{2}:[0-9]{2}:[0-9]{2}\\.[0-9]{3} foundation_test[^ ]*\\[" +
        std::to_string(getpid()) + "\\] ";
    EXPECT_THAT(written,
                testing::MatchesRegex(prefix + "braces \\{\\} stay\n" + prefix + "1 of two\n"));
}

TEST(Log, linesOfThreadsDoNotMix) {
    const test::LogCapture log;
    const auto write = [](char letter) {
        for (int i = 0; i < 200; ++i) {
            logMessage(std::string(50, letter));
        }
    };
    std::thread other(write, 'a');
    write('b');
    other.join();
    EXPECT_EQ(log.lines().size(), 400U);
    EXPECT_EQ(log.count(std::string(50, 'a')) + log.count(std::string(50, 'b')), 400U);
}

TEST(LogDeathTest, aFatalErrorLogsItsMessage) {
    EXPECT_DEATH(fatalError("The queue is gone."), "Fatal error: The queue is gone\\.");
}

} // namespace
} // namespace zelvane
