// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace zelvane {

/// Cuts the text of a large script into some that a demuxer can take one after the other, so that
/// it never keeps all events at once: each has the script's header and a megabyte of its events, or
/// as much as the header. Any other text, and a script with sections behind its events, is one
/// slice.
class ScriptSlices {
  public:
    explicit ScriptSlices(std::string text);

    /// None behind the last.
    std::optional<std::string> next();

  private:
    std::string text_;
    /// What every slice begins with.
    std::size_t headerSize_ = 0;
    std::size_t sliceSize_;
    std::size_t position_ = 0;
    bool isAtEnd_ = false;
};

} // namespace zelvane
