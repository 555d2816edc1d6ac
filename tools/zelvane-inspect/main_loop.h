// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <chrono>
#include <functional>
#include <memory>

#include "foundation/geometry.h"
#include "rendering/video_presenter.h"

namespace zelvane::inspect {

/// The main queue of this program and what runs it: the toolkit's event loop where a window is
/// wanted, a plain one elsewhere. Main thread.
class MainLoop {
  public:
    using Deadline = std::chrono::steady_clock::time_point;

    /// Throws UsageError when a window is wanted and this build has no desktop.
    static std::unique_ptr<MainLoop> make(bool withWindow);
    virtual ~MainLoop() = default;

    /// Runs what comes until `done` says so or the time is out.
    virtual void runUntil(const std::function<bool()>& done, Deadline deadline) = 0;
    /// A window for a picture of that size, and what draws in it. Once.
    virtual std::shared_ptr<VideoPresenter> openWindow(const CGSize& pictureSize) = 0;
    /// Whether the person has closed the window.
    virtual bool isClosed() const = 0;
    /// Lets work that is under way come to its end.
    void drain();
};

/// Only in a build with the desktop.
std::unique_ptr<MainLoop> makeDesktopMainLoop();

} // namespace zelvane::inspect
