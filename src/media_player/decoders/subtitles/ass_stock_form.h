// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>
#include <string>
#include <string_view>

// libavcodec hands a dialogue over as "ReadOrder,Layer,Style,Name,MarginL,MarginR,MarginV,Effect,
// Text": without its key and its times. The splitter reads scripts, so header and dialogues are
// brought back to that form.

namespace zelvane {

/// The header of a script that has none.
extern const std::string_view kDefaultASSHeader;

/// Which columns stand behind the third in the events to come.
enum class ASSEventColumns {
    /// "Style, Name, MarginL, MarginR, MarginV, Effect, Text", as containers have them.
    usual,
    /// Those that the header's own events have, as in a file that is a script.
    ofHeader,
};

/// The header up to its events, and an "[Events]" section that orders the columns of the events to
/// come. Whatever else the file has behind its events is left out.
std::string scriptHeader(std::string_view headerBytes, ASSEventColumns columns);

/// The dialogue line of an event; none for bytes that are no event. Only the first line counts.
std::optional<std::string> dialogueLine(std::string_view event);

} // namespace zelvane
