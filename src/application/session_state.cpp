// SPDX-License-Identifier: GPL-3.0-or-later
#include "application/session_state.h"

#include <algorithm>
#include <utility>

namespace zelvane {
namespace {

// The key of the version sorts before that of the windows, so that it is also read from a file that
// was cut.
constexpr std::string_view kVersionKey = "zelvane.Session.version";
constexpr std::string_view kWindowsKey = "zelvane.Session.windows";
constexpr std::int64_t kVersion = 1;

/// A damaged file must not open windows without end.
constexpr std::size_t kMaximumWindowCount = 200;

} // namespace

std::vector<SessionState::Entry>::iterator SessionState::find(Window window) {
    return std::ranges::find(entries_, window, &Entry::window);
}

void SessionState::set(Window window, std::optional<StateCoder> state) {
    const auto found = find(window);
    if (found == entries_.end()) {
        entries_.push_back({window, std::move(state)});
    } else {
        found->state = std::move(state);
    }
}

void SessionState::moveToFront(Window window) {
    const auto found = find(window);
    if (found != entries_.end()) {
        std::rotate(found, found + 1, entries_.end());
    }
}

void SessionState::remove(Window window) {
    std::erase_if(entries_, [window](const Entry& entry) { return entry.window == window; });
}

std::string SessionState::data() const {
    std::vector<StateCoder> windows;
    for (const auto& entry : entries_) {
        if (entry.state) {
            windows.push_back(*entry.state);
        }
    }
    StateCoder coder;
    coder.encodeInteger(kVersionKey, kVersion);
    coder.encodeStates(kWindowsKey, windows);
    return coder.data();
}

StoredSession StoredSession::fromData(std::string_view data) {
    const auto read = StateCoder::fromData(data);
    const auto version = read.state.decodeInteger(kVersionKey).value_or(0);
    if (version > kVersion) {
        return {Condition::newer, {}};
    }
    auto windows = read.state.decodeStates(kWindowsKey, kMaximumWindowCount + 1);
    const bool isWhole =
        read.isComplete && version == kVersion && windows.size() <= kMaximumWindowCount;
    if (windows.size() > kMaximumWindowCount) {
        windows.pop_back();
    }
    return {isWhole ? Condition::whole : Condition::damaged, std::move(windows)};
}

} // namespace zelvane
