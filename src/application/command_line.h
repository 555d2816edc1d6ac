// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <exception>
#include <optional>
#include <string>
#include <vector>

#include "foundation/url.h"

namespace zelvane {

/// The exit statuses of the program.
enum class ExitStatus { success = 0, notOpened = 1, wrongUsage = 2 };

/// What the command line asks for.
struct CommandLine {
    struct Answer {
        std::string text;
        ExitStatus status = ExitStatus::success;
    };
    /// To be printed in place of opening windows: on standard error after wrong usage.
    std::optional<Answer> answer = std::nullopt;
    std::vector<URL> files = {};
};

/// Needs neither an application object nor a display. The options of the toolkit are accepted and
/// left to it. The first argument is the name of the program.
CommandLine parseCommandLine(const std::vector<std::string>& arguments);

/// One line for standard error about a file that cannot be opened. Control characters of its name
/// are replaced: they would act on a terminal.
std::string openFailureLine(const URL& url, const std::exception& error);

} // namespace zelvane
