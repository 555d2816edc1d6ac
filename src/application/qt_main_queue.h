// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <deque>
#include <mutex>

#include <QObject>

#include "foundation/dispatch.h"

namespace zelvane {

/// The main queue on the event loop of the application object, which must exist first and whose
/// thread runs the tasks. Tasks posted after the end of the loop do not run.
class QtMainQueue final : public dispatch::Queue {
  public:
    QtMainQueue();
    ~QtMainQueue() override;

    void async(dispatch::Task task) override;
    /// Called on the main thread itself, it stops the process with a message.
    void syncTask(const dispatch::Task& task) override;
    bool isCurrent() const override;

  private:
    void runNext();

    std::mutex mutex_;
    std::deque<dispatch::Task> tasks_;
    QObject receiver_;
};

} // namespace zelvane
