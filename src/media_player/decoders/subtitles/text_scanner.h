// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <optional>
#include <string_view>

namespace zelvane {

/// Matches the start of a text step by step, as C's sscanf matches a pattern: each step is one
/// directive, always in the "C" locale. After a step that does not match, every further step fails
/// too. A number beyond its type becomes the nearest value, where sscanf leaves the result
/// undefined. A NUL ends the text.
class TextScanner {
  public:
    static constexpr std::size_t kAnyWidth = std::numeric_limits<std::size_t>::max();

    explicit TextScanner(std::string_view text) : text_(text) {}

    bool hasMatched() const { return !hasFailed_; }
    /// The number of bytes matched so far.
    std::size_t position() const { return position_; }

    /// Matches ordinary characters, without white space.
    bool literal(std::string_view characters);
    /// "%1[set]"
    std::optional<char> oneOf(std::string_view set);
    /// "%<width>[^set]"
    std::optional<std::string_view> noneOf(std::string_view set, std::size_t width);
    /// "%d"
    std::optional<std::int32_t> decimal(std::size_t width = kAnyWidth);
    /// "%u": allows a sign; a minus wraps around.
    std::optional<std::uint32_t> unsignedDecimal(std::size_t width = kAnyWidth);
    /// "%X": allows a sign and "0x".
    std::optional<std::uint32_t> hexadecimal(std::size_t width = kAnyWidth);
    /// "%f". Does not match a number that is not finite.
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
