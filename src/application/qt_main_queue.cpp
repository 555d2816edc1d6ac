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
    QMetaObject::invokeMethod(&receiver_, std::move(task), Qt::QueuedConnection);
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
