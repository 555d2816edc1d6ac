// SPDX-License-Identifier: GPL-3.0-or-later
#include "arguments.h"

#include <algorithm>

namespace zelvane::inspect {
namespace {

double numberFromText(const std::string& option, const std::string& value) {
    try {
        std::size_t used = 0;
        const double number = std::stod(value, &used);
        if (used == value.size()) {
            return number;
        }
    } catch (const std::logic_error&) {
        // Reported below, as for a number followed by other characters.
    }
    throw UsageError("not a number: --" + option + " " + value);
}

/// Whether the option has no value.
bool isFlag(const std::string& option) {
    return option == "--user-style";
}

} // namespace

Arguments::Arguments(int argc, char** argv) {
    const std::vector<std::string> words(argv + 1, argv + argc);
    if (words.size() < 2) {
        throw UsageError("a command and a file are needed");
    }
    command_ = words[0];
    file_ = words[1];
    for (std::size_t i = 2; i < words.size(); i += 2) {
        const std::string word = words[i] == "-o" ? "--out" : words[i];
        if (word.rfind("--", 0) != 0) {
            throw UsageError("not an option: " + word);
        }
        if (isFlag(word)) {
            options_.emplace_back(word.substr(2), "");
            --i;
            continue;
        }
        if (i + 1 == words.size()) {
            throw UsageError("no value for " + word);
        }
        options_.emplace_back(word.substr(2), words[i + 1]);
    }
}

std::optional<std::string> Arguments::text(const std::string& option) const {
    const auto found = std::find_if(options_.rbegin(), options_.rend(),
                                    [&](const auto& given) { return given.first == option; });
    return found == options_.rend() ? std::nullopt : std::optional(found->second);
}

std::string Arguments::text(const std::string& option, const std::string& otherwise) const {
    return text(option).value_or(otherwise);
}

std::optional<double> Arguments::number(const std::string& option) const {
    const auto value = text(option);
    return value ? std::optional(numberFromText(option, *value)) : std::nullopt;
}

std::vector<std::string> Arguments::texts(const std::string& option) const {
    std::vector<std::string> texts;
    for (const auto& [name, value] : options_) {
        if (name == option) {
            texts.push_back(value);
        }
    }
    return texts;
}

std::vector<double> Arguments::numbers(const std::string& option) const {
    std::vector<double> numbers;
    for (const auto& value : texts(option)) {
        numbers.push_back(numberFromText(option, value));
    }
    return numbers;
}

void Arguments::allow(const std::vector<std::string>& known) const {
    for (const auto& [option, value] : options_) {
        if (std::find(known.begin(), known.end(), option) == known.end()) {
            throw UsageError("unknown option of " + command_ + ": --" + option);
        }
    }
}

} // namespace zelvane::inspect
