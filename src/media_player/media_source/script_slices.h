// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace zelvane {

/// Splits the text of a large script into slices that a demuxer reads one after the other, so that
/// it never keeps all events in memory. Each slice has the script's header and a megabyte of its
/// events, or as many bytes of events as the header has. Any other text, and a script with sections
/// after its events, is one slice.
class ScriptSlices {
  public:
    explicit ScriptSlices(std::string text);

    /// None after the last.
    std::optional<std::string> next();

  private:
    std::string text_;
    /// The size of the header, with which every slice begins.
    std::size_t headerSize_ = 0;
    std::size_t sliceSize_;
    std::size_t position_ = 0;
    bool isAtEnd_ = false;
};

} // namespace zelvane
