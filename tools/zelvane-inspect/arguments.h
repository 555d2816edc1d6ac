// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace zelvane::inspect {

/// Thrown for a command line that makes no sense; what() is for the person.
class UsageError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/// A command line: COMMAND FILE [--option VALUE]... Few options have no value; -o is --out.
class Arguments {
  public:
    /// Throws UsageError for a missing file, a word that is no option, or an option without value.
    Arguments(int argc, char** argv);

    const std::string& command() const { return command_; }
    const std::string& file() const { return file_; }

    std::string text(const std::string& option, const std::string& otherwise) const;
    /// Of one that is given several times, the last.
    std::optional<std::string> text(const std::string& option) const;
    /// Throws UsageError when the value is no number.
    std::optional<double> number(const std::string& option) const;
    // Of an option that may be given several times, in order.
    std::vector<std::string> texts(const std::string& option) const;
    std::vector<double> numbers(const std::string& option) const;
    /// Throws UsageError for an option that is not among `known`.
    void allow(const std::vector<std::string>& known) const;

  private:
    std::string command_;
    std::string file_;
    std::vector<std::pair<std::string, std::string>> options_;
};

} // namespace zelvane::inspect
