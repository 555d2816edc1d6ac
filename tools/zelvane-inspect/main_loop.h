// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <chrono>
#include <functional>
#include <memory>

#include "foundation/geometry.h"
#include "rendering/video_presenter.h"

namespace zelvane::inspect {

/// The main queue of the program and the loop that runs it: Qt's event loop with a window,
/// otherwise a simple loop. Main thread.
class MainLoop {
  public:
    using Deadline = std::chrono::steady_clock::time_point;

    /// Throws CommandError when `withWindow` is set in a build without the desktop.
    static std::unique_ptr<MainLoop> make(bool withWindow);
    virtual ~MainLoop() = default;

    /// Runs tasks and events until `done` returns true or the deadline passes.
    virtual void runUntil(const std::function<bool()>& done, Deadline deadline) = 0;
    /// Opens a window for a picture of that size and returns its presenter. May be called once.
    virtual std::shared_ptr<VideoPresenter> openWindow(const CGSize& pictureSize) = 0;
    /// Whether the user has closed the window.
    virtual bool isClosed() const = 0;
    /// Runs until pending work has finished, for at most 3 s.
    void drain();
};

/// Exists only in builds with the desktop.
std::unique_ptr<MainLoop> makeDesktopMainLoop();

} // namespace zelvane::inspect
