// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <vector>

namespace zelvane {

/// Holds back what a window does on its first appearance, such as playing, until the windows of the
/// last run are there. Main thread; another one stops the process.
class WindowRestorationObserver {
  public:
    /// The one of the process.
    static WindowRestorationObserver& shared();

    /// The application is about to restore windows. Before that, and where it restores none,
    /// restoration counts as complete.
    void applicationWillRestoreWindows();
    /// Runs what was held back, in its order.
    void applicationDidFinishRestoringWindows();
    bool isRestorationComplete() const { return isRestorationComplete_; }

    /// Runs `handler` now if restoration is complete, else afterwards.
    void performAfterRestoration(std::function<void()> handler);

  private:
    bool isRestorationComplete_ = true;
    std::vector<std::function<void()>> completionHandlers_;
};

} // namespace zelvane
