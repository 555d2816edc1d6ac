// SPDX-License-Identifier: GPL-3.0-or-later
#include "main_loop.h"

#include <algorithm>

#include "arguments.h"
#include "foundation/dispatch.h"
#include "foundation/log.h"

namespace zelvane::inspect {
namespace {

using Clock = std::chrono::steady_clock;

class PlainMainLoop final : public MainLoop {
  public:
    PlainMainLoop() { dispatch::setMainQueue(queue_); }

    void runUntil(const std::function<bool()>& done, Deadline deadline) override {
        constexpr auto kStep = std::chrono::milliseconds(100);
        while (!done() && Clock::now() < deadline) {
            const auto rest = deadline - Clock::now();
            queue_->runUntil(done, rest < kStep ? std::chrono::ceil<std::chrono::milliseconds>(rest)
                                                : kStep);
        }
    }
    std::shared_ptr<VideoPresenter> openWindow(const CGSize& /*pictureSize*/) override {
        fatalError("This main loop cannot open a window.");
    }
    bool isClosed() const override { return false; }

  private:
    std::shared_ptr<dispatch::RunLoopQueue> queue_ = std::make_shared<dispatch::RunLoopQueue>();
};

} // namespace

std::unique_ptr<MainLoop> MainLoop::make(bool withWindow) {
    if (!withWindow) {
        return std::make_unique<PlainMainLoop>();
    }
#ifdef ZELVANE_DESKTOP
    return makeDesktopMainLoop();
#else
    throw CommandError("this build has no windows");
#endif
}

void MainLoop::drain() {
    runUntil([] { return dispatch::waitForQuiescence(std::chrono::milliseconds(5)); },
             Clock::now() + std::chrono::seconds(3));
}

} // namespace zelvane::inspect
