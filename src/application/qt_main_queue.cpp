// SPDX-License-Identifier: GPL-3.0-or-later
#include "application/qt_main_queue.h"

#include <utility>

#include <QCoreApplication>
#include <QThread>

#include "foundation/log.h"

namespace zelvane {

QtMainQueue::QtMainQueue() {
    if (QCoreApplication::instance() == nullptr) {
        fatalError("The main queue requires an application object.");
    }
}

QtMainQueue::~QtMainQueue() = default;

void QtMainQueue::async(dispatch::Task task) {
    const std::lock_guard lock(mutex_);
    tasks_.push_back(std::move(task));
    // The toolkit destroys events that are left at its end under a lock. A task in an event could
    // own this queue, whose end would wait for that lock.
    QMetaObject::invokeMethod(
        &receiver_, [this] { runNext(); }, Qt::QueuedConnection);
}

/// The task may destroy the queue.
void QtMainQueue::runNext() {
    dispatch::Task task;
    {
        const std::lock_guard lock(mutex_);
        task = std::move(tasks_.front());
        tasks_.pop_front();
    }
    task();
}

void QtMainQueue::syncTask(const dispatch::Task& task) {
    if (isCurrent()) {
        fatalError("sync called on the main queue by the main thread.");
    }
    QMetaObject::invokeMethod(&receiver_, task, Qt::BlockingQueuedConnection);
}

bool QtMainQueue::isCurrent() const {
    return QThread::currentThread() == receiver_.thread();
}

} // namespace zelvane
