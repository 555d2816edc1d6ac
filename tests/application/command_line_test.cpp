// SPDX-License-Identifier: GPL-3.0-or-later
#include "application/command_line.h"

#include <gmock/gmock.h>

#include <QProcess>

#include "foundation/error.h"

namespace zelvane {
namespace {

std::vector<std::string> filesOf(const CommandLine& commandLine) {
    std::vector<std::string> texts;
    for (const URL& url : commandLine.files) {
        texts.push_back(url.absoluteString());
    }
    return texts;
}

TEST(CommandLine, takesFilesAndURLsAndLeavesTheOptionsOfTheToolkit) {
    const auto commandLine =
        parseCommandLine({"zelvane-player", "-platform", "xcb", "/a b\xff.mkv", "-style=fusion",
                          "http://host/c%20d", "--", "--help"});
    EXPECT_FALSE(commandLine.answer);
    EXPECT_EQ(filesOf(commandLine),
              (std::vector<std::string>{"file:///a%20b%FF.mkv", "http://host/c%20d",
                                        URL::fromPath("--help").absoluteString()}));
}

TEST(CommandLine, aLineAboutAFailureHasNoControlCharacters) {
    EXPECT_EQ(openFailureLine(URL::fromPath("/a\n\x1b[2J.mkv"), Error("It is gone.")),
              "zelvane-player: /a??[2J.mkv: It is gone.\n");
}

/// The program itself, without a display.
struct FinishedRun {
    explicit FinishedRun(const QStringList& arguments) {
        QProcess process;
        auto environment = QProcessEnvironment::systemEnvironment();
        environment.insert("DISPLAY", ":no-such-display");
        environment.remove("WAYLAND_DISPLAY");
        process.setProcessEnvironment(environment);
        process.start(ZELVANE_PLAYER, arguments);
        EXPECT_TRUE(process.waitForFinished());
        status = process.exitCode();
        output = process.readAllStandardOutput().toStdString();
        error = process.readAllStandardError().toStdString();
    }
    int status = -1;
    std::string output;
    std::string error;
};

TEST(PlayerProgram, answersWithoutADisplay) {
    EXPECT_THAT(FinishedRun({"--help"}).output, testing::HasSubstr("Exit status:"));
    EXPECT_THAT(FinishedRun({"-v"}).output, testing::MatchesRegex("Zelvane Player [0-9.]+\n"));
    EXPECT_EQ(FinishedRun({"-v"}).status, 0);
    const FinishedRun wrong({"--no-such-option", "a.mkv"});
    EXPECT_EQ(wrong.status, 2);
    EXPECT_EQ(wrong.output, "");
    EXPECT_THAT(wrong.error, testing::HasSubstr("no-such-option"));
}

} // namespace
} // namespace zelvane
