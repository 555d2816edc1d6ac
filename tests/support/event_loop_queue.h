// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>

#include <QCoreApplication>
#include <QThread>

#include "foundation/dispatch.h"

namespace zelvane::test {

/// Runs the tasks of the main queue in the event loop of the test.
class EventLoopQueue final : public dispatch::Queue {
  public:
    void async(dispatch::Task task) override {
        QMetaObject::invokeMethod(QCoreApplication::instance(), std::move(task),
                                  Qt::QueuedConnection);
    }
    void syncTask(const dispatch::Task& task) override { task(); }
    bool isCurrent() const override {
        return QThread::currentThread() == QCoreApplication::instance()->thread();
    }
};

/// That is the main queue while this exists. All tasks have run at its end.
class EventLoopScope {
  public:
    EventLoopScope() { dispatch::setMainQueue(std::make_shared<EventLoopQueue>()); }
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
};

} // namespace zelvane::test
