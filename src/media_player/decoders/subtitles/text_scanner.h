// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <optional>
#include <string_view>

namespace zelvane {

/// Matches the start of a text step by step, as C's sscanf matches a pattern: each step stands for
/// one directive, in the "C" locale whatever the process's is. A step that does not match leaves
/// the scanner failed, and every further step fails too. Numbers beyond their type become its
/// nearest value, where sscanf leaves the result open. A NUL ends the text.
class TextScanner {
  public:
    static constexpr std::size_t kAnyWidth = std::numeric_limits<std::size_t>::max();

    explicit TextScanner(std::string_view text) : text_(text) {}

    bool hasMatched() const { return !hasFailed_; }
    /// Bytes that were matched so far.
    std::size_t position() const { return position_; }

    /// Ordinary characters, none of them white space.
    bool literal(std::string_view characters);
    /// "%1[set]"
    std::optional<char> oneOf(std::string_view set);
    /// "%<width>[^set]"
    std::optional<std::string_view> noneOf(std::string_view set, std::size_t width);
    /// "%d"
    std::optional<std::int32_t> decimal(std::size_t width = kAnyWidth);
    /// "%u": a sign is allowed, and a minus wraps around.
    std::optional<std::uint32_t> unsignedDecimal(std::size_t width = kAnyWidth);
    /// "%X": with a sign, and "0x", when they are there.
    std::optional<std::uint32_t> hexadecimal(std::size_t width = kAnyWidth);
    /// "%f". What is no finite number does not match.
    std::optional<float> floatingPoint();

  private:
    struct Integer {
        std::uint64_t magnitude = 0;
        bool isNegative = false;
    };

    char current() const { return position_ < text_.size() ? text_[position_] : '\0'; }
    char following() const { return position_ + 1 < text_.size() ? text_[position_ + 1] : '\0'; }
    void fail() { hasFailed_ = true; }
    void skipWhitespace();
    bool takesSign(std::size_t& width);
    std::optional<Integer> integer(unsigned base, std::size_t width);
    std::optional<std::uint32_t> unsignedInteger(unsigned base, std::size_t width);

    std::string_view text_;
    std::size_t position_ = 0;
    bool hasFailed_ = false;
};

} // namespace zelvane
