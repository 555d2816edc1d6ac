// SPDX-License-Identifier: GPL-3.0-or-later
#include "media_player/media_source/script_slices.h"

#include <algorithm>
#include <utility>

namespace zelvane {
namespace {

constexpr std::size_t kSliceSize = std::size_t{1024} * 1024;

/// The position after the line that `position` is in.
std::size_t behindLine(std::string_view text, std::size_t position) {
    const auto end = text.find('\n', position);
    return end == std::string_view::npos ? text.size() : end + 1;
}

/// The position of the first event of a script that ends with its events; 0 for other text.
std::size_t eventsPosition(std::string_view text) {
    constexpr std::string_view kEvents = "\n[Events]";
    const auto section = text.find(kEvents);
    if (text.substr(0, 13) != "[Script Info]" || section == std::string_view::npos ||
        text.find("\n[", section + kEvents.size()) != std::string_view::npos) {
        return 0;
    }
    const std::size_t format = behindLine(text, section + 1);
    return text.substr(format, 7) == "Format:" ? behindLine(text, format) : 0;
}

} // namespace

ScriptSlices::ScriptSlices(std::string text) : text_(std::move(text)), sliceSize_(text_.size()) {
    const std::size_t events = eventsPosition(text_);
    if (events > 0 && text_.size() > 2 * kSliceSize) {
        headerSize_ = events;
        position_ = events;
        sliceSize_ = std::max(kSliceSize, events);
    }
}

std::optional<std::string> ScriptSlices::next() {
    if (isAtEnd_) {
        return std::nullopt;
    }
    if (headerSize_ == 0) {
        isAtEnd_ = true;
        return std::move(text_);
    }
    const std::size_t end = behindLine(text_, std::min(position_ + sliceSize_, text_.size()));
    std::string slice = text_.substr(0, headerSize_);
    slice.append(text_, position_, end - position_);
    position_ = end;
    isAtEnd_ = end == text_.size();
    return slice;
}

} // namespace zelvane
