// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include <QObject>
#include <QTimer>

#include "application/session_file.h"
#include "application/session_state.h"
#include "application/write_schedule.h"
#include "foundation/dispatch.h"
#include "foundation/host_clock.h"

namespace zelvane {

/// Keeps the windows of this run in the session's file: each change is written within a second, at
/// most once a second, in the background, and only when it differs from what was written. Main
/// thread.
class SessionStore final : public QObject {
  public:
    using Window = SessionState::Window;
    /// The present state of a window; none while it has none to bring back.
    using Encode = std::function<std::optional<StateCoder>()>;

    explicit SessionStore(QString path, std::shared_ptr<HostClock> clock = HostClock::system());
    /// As finish().
    ~SessionStore() override;

    /// Those of the last run; the front window is the last.
    const std::vector<StateCoder>& storedWindows() const { return stored_.windows; }

    /// Adds a window in front of all others, to be written when it is invalidated. `encode` is
    /// called until the window is removed. A window that is there keeps its place.
    void add(Window window, Encode encode);
    void invalidate(Window window);
    void moveToFront(Window window);
    void remove(Window window);

    /// Returns when all that has changed is in the file.
    void writeNow();
    /// Writes what has changed and ignores all later changes, so that windows that are closed
    /// because the program ends stay in the session.
    void finish();

  private:
    void didChange();
    void writeChanges();

    const std::shared_ptr<HostClock> clock_;
    const std::shared_ptr<dispatch::Queue> queue_;
    /// Written on the queue, whose tasks end before this.
    SessionFile file_;
    const StoredSession stored_;
    SessionState state_;
    std::map<Window, Encode> encoders_;
    std::set<Window> invalidated_;
    std::string written_;
    WriteSchedule schedule_;
    QTimer timer_;
    bool isFinished_ = false;
};

} // namespace zelvane
