// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>

#include <QCoreApplication>
#include <QThread>

#include "foundation/dispatch.h"

namespace zelvane::test {

/// The event loop of the test is the main queue while this exists. All tasks have run at its end.
class EventLoopScope {
  public:
    EventLoopScope() { dispatch::setMainQueue(std::make_shared<Queue>()); }
    ~EventLoopScope() {
        settle();
        dispatch::setMainQueue(nullptr);
    }
    EventLoopScope(const EventLoopScope&) = delete;
    EventLoopScope& operator=(const EventLoopScope&) = delete;

    static void settle() {
        do {
            QCoreApplication::processEvents();
        } while (!dispatch::waitForQuiescence(std::chrono::milliseconds(5)));
        QCoreApplication::processEvents();
    }

  private:
    struct Queue final : dispatch::Queue {
        void async(dispatch::Task task) override {
            QMetaObject::invokeMethod(qApp, std::move(task), Qt::QueuedConnection);
        }
        void syncTask(const dispatch::Task& task) override { task(); }
        bool isCurrent() const override { return QThread::currentThread() == qApp->thread(); }
    };
};

} // namespace zelvane::test
