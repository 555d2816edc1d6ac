// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "foundation/state_coder.h"

namespace zelvane {

/// The open windows and what brings each of them back, as the content of the session's file. A
/// value.
class SessionState {
  public:
    /// Identifies a window in this run only.
    using Window = std::int64_t;

    /// Adds the window in front of all others, or replaces its state. A window without a state
    /// keeps its place, and is not written.
    void set(Window window, std::optional<StateCoder> state);
    void moveToFront(Window window);
    void remove(Window window);

    /// Equal sessions have equal data.
    std::string data() const;

  private:
    struct Entry {
        Window window;
        std::optional<StateCoder> state;
    };
    std::vector<Entry>::iterator find(Window window);

    /// The front window is the last.
    std::vector<Entry> entries_;
};

/// What an earlier run has written.
struct StoredSession {
    enum class Condition {
        whole,
        /// Some or all windows are lost.
        damaged,
        /// Of a newer version of the program, which nothing here can read.
        newer,
    };
    Condition condition = Condition::whole;
    /// In the order of SessionState.
    std::vector<StateCoder> windows;

    /// Never fails: it reads what can be read.
    static StoredSession fromData(std::string_view data);
};

} // namespace zelvane
