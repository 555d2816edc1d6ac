// SPDX-License-Identifier: GPL-3.0-or-later
#include "foundation/window_restoration_observer.h"

#include <memory>
#include <utility>

#include "foundation/dispatch.h"
#include "foundation/log.h"

namespace zelvane {

WindowRestorationObserver& WindowRestorationObserver::shared() {
    static WindowRestorationObserver& observer =
        *std::make_unique<WindowRestorationObserver>().release();
    return observer;
}

void WindowRestorationObserver::applicationWillRestoreWindows() {
    isRestorationComplete_ = false;
}

void WindowRestorationObserver::applicationDidFinishRestoringWindows() {
    isRestorationComplete_ = true;
    for (const auto& handler : std::exchange(completionHandlers_, {})) {
        handler();
    }
}

void WindowRestorationObserver::performAfterRestoration(std::function<void()> handler) {
    if (!dispatch::mainQueue()->isCurrent()) {
        fatalError("performAfterRestoration called off the main thread.");
    }
    if (isRestorationComplete_) {
        handler();
    } else {
        completionHandlers_.push_back(std::move(handler));
    }
}

} // namespace zelvane
