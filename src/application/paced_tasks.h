// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <deque>
#include <utility>

#include <QTimer>

#include "foundation/dispatch.h"

namespace zelvane {

/// Runs tasks of the main thread in their order, each in a turn of the event loop of its own, so
/// that the program answers to the user between them. Those that are left at the end do not run.
/// Main thread.
class PacedTasks {
  public:
    PacedTasks() {
        timer_.setSingleShot(true);
        timer_.callOnTimeout([this] { runNext(); });
    }
    void add(dispatch::Task task) {
        tasks_.push_back(std::move(task));
        start();
    }

  private:
    void start() {
        if (!tasks_.empty() && !timer_.isActive()) {
            timer_.start(1);
        }
    }
    void runNext() {
        const dispatch::Task task = std::move(tasks_.front());
        tasks_.pop_front();
        task();
        start();
    }

    std::deque<dispatch::Task> tasks_;
    QTimer timer_;
};

} // namespace zelvane
