// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace zelvane::inspect {

/// Thrown for a command line that is not valid. The usage text is printed after what().
class UsageError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/// Thrown for a valid command that this file or this build cannot serve. Only what() is printed.
class CommandError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/// A command line: COMMAND FILE [--option VALUE]... --user-style has no value; -o means --out.
class Arguments {
  public:
    /// Throws UsageError for a missing file, an invalid option, or an option without its value.
    Arguments(int argc, char** argv);

    const std::string& command() const { return command_; }
    const std::string& file() const { return file_; }

    std::string text(const std::string& option, const std::string& otherwise) const;
    /// The last value if the option is given several times.
    std::optional<std::string> text(const std::string& option) const;
    /// Throws UsageError when the value is not a number.
    std::optional<double> number(const std::string& option) const;
    // All values of an option that may be given several times, in order.
    std::vector<std::string> texts(const std::string& option) const;
    std::vector<double> numbers(const std::string& option) const;
    /// Throws UsageError for an option that is not in `known`.
    void allow(const std::vector<std::string>& known) const;

  private:
    std::string command_;
    std::string file_;
    std::vector<std::pair<std::string, std::string>> options_;
};

} // namespace zelvane::inspect
