// SPDX-License-Identifier: GPL-3.0-or-later
#include "foundation/window_restoration_observer.h"

#include <string>

#include <gtest/gtest.h>

#include "foundation/dispatch.h"

namespace zelvane {
namespace {

TEST(WindowRestorationObserver, holdsHandlersBackInTheirOrder) {
    const auto queue = std::make_shared<dispatch::RunLoopQueue>();
    dispatch::setMainQueue(queue);
    WindowRestorationObserver observer;
    std::string ran;
    queue->async([&] {
        const auto perform = [&](char name) {
            observer.performAfterRestoration([&ran, name] { ran += name; });
        };
        perform('a');
        observer.applicationWillRestoreWindows();
        perform('b');
        perform('c');
        EXPECT_EQ(ran, "a");
        observer.applicationDidFinishRestoringWindows();
        EXPECT_EQ(ran, "abc");
    });
    queue->runPending();
    dispatch::setMainQueue(nullptr);
}

} // namespace
} // namespace zelvane
