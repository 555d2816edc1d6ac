// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>
#include <string>
#include <string_view>

// libavcodec outputs a dialogue as "ReadOrder,Layer,Style,Name,MarginL,MarginR,MarginV,Effect,
// Text", without its key and its times. The splitter reads scripts, so these functions restore the
// form of a script.

namespace zelvane {

/// The header for a script that has none.
extern const std::string_view kDefaultASSHeader;

/// The columns after the third in the following events.
enum class ASSEventColumns {
    /// "Style, Name, MarginL, MarginR, MarginV, Effect, Text", as in containers.
    usual,
    /// The columns of the header's own events, as in a script file.
    ofHeader,
};

/// The header up to its events, and an "[Events]" section that states the order of columns of the
/// following events. Omits the rest of the file.
std::string scriptHeader(std::string_view headerBytes, ASSEventColumns columns);

/// The dialogue line of an event; none for malformed bytes. Only the first line counts.
std::optional<std::string> dialogueLine(std::string_view event);

} // namespace zelvane
