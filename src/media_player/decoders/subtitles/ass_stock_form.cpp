// SPDX-License-Identifier: GPL-3.0-or-later
#include "media_player/decoders/subtitles/ass_stock_form.h"

#include <algorithm>

#include "foundation/text.h"

namespace zelvane {
namespace {

constexpr std::string_view kByteOrderMark = "\xef\xbb\xbf";
constexpr std::string_view kEventsLine = "[Events]";
constexpr std::string_view kFormatKey = "Format:";
/// The columns that libavcodec removes from a line, or inserts at its start.
constexpr int kColumnsOfTime = 3;
constexpr int kColumnsBeforeTail = 2;
constexpr std::string_view kUsualColumns = "Style, Name, MarginL, MarginR, MarginV, Effect, Text";

bool beginsWithoutCase(std::string_view text, std::string_view start) {
    return text.size() >= start.size() &&
           std::equal(start.begin(), start.end(), text.begin(),
                      [](char a, char b) { return loweredASCII(a) == loweredASCII(b); });
}

std::string_view firstLine(std::string_view text) {
    return text.substr(0, text.find_first_of("\r\n"));
}

/// The rest of the text from the first line with this start, ignoring case.
std::optional<std::string_view> fromLine(std::string_view text, std::string_view start) {
    while (!beginsWithoutCase(text, start)) {
        const auto end = text.find('\n');
        if (end == std::string_view::npos) {
            return std::nullopt;
        }
        text.remove_prefix(end + 1);
    }
    return text;
}

/// The text after the n-th comma.
std::optional<std::string_view> behindCommas(std::string_view text, int count) {
    for (int i = 0; i < count; ++i) {
        const auto comma = text.find(',');
        if (comma == std::string_view::npos) {
            return std::nullopt;
        }
        text.remove_prefix(comma + 1);
    }
    return text;
}

std::string_view columnsBehindTimes(std::string_view events) {
    const auto format = fromLine(events, kFormatKey);
    const auto columns = format ? behindCommas(firstLine(*format), kColumnsOfTime) : std::nullopt;
    return skippingBlanks(columns.value_or(kUsualColumns));
}

} // namespace

const std::string_view kDefaultASSHeader =
    "[Script Info]\n"
    "ScriptType: v4.00+\n"
    "PlayResX: 384\n"
    "PlayResY: 288\n"
    "\n"
    "[V4+ Styles]\n"
    "Format: Name, Fontname, Fontsize, PrimaryColour, SecondaryColour, OutlineColour, BackColour, "
    "Bold, Italic, Underline, StrikeOut, ScaleX, ScaleY, Spacing, Angle, BorderStyle, Outline, "
    "Shadow, Alignment, MarginL, MarginR, MarginV, Encoding\n"
    "Style: Default,Arial,16,&Hffffff,&Hffffff,&H0,&H0,0,0,0,0,100,100,0,0,1,1,0,2,10,10,10,1\n";

std::string scriptHeader(std::string_view headerBytes, ASSEventColumns columns) {
    std::string_view header = headerBytes.substr(0, headerBytes.find('\0'));
    if (header.substr(0, kByteOrderMark.size()) == kByteOrderMark) {
        header.remove_prefix(kByteOrderMark.size());
    }
    const std::string_view events = fromLine(header, kEventsLine).value_or(std::string_view());
    std::string script(header.substr(0, header.size() - events.size()));
    script += "\n[Events]\nFormat: Layer, Start, End, ";
    script += columns == ASSEventColumns::usual ? kUsualColumns : columnsBehindTimes(events);
    script += '\n';
    return script;
}

std::optional<std::string> dialogueLine(std::string_view event) {
    event = firstLine(event);
    const auto tail = behindCommas(event, kColumnsBeforeTail);
    if (!tail) {
        return std::nullopt;
    }
    const std::string_view orderAndLayer = event.substr(0, event.size() - tail->size() - 1);
    const std::string_view layer = orderAndLayer.substr(orderAndLayer.find(',') + 1);
    std::string line = "Dialogue: ";
    line.append(layer).append(",0:00:00.00,0:00:00.00,").append(*tail).append("\n");
    return line;
}

} // namespace zelvane
