// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>

#include <QObject>

#include "foundation/dispatch.h"

namespace zelvane {

/// The main queue as the event loop of the application object, which must exist before it and whose
/// thread is the queue's. Tasks posted after the loop has ended do not run.
class QtMainQueue final : public dispatch::Queue {
  public:
    QtMainQueue();
    ~QtMainQueue() override;

    void async(dispatch::Task task) override;
    /// Stops the process with a message when it is called on the main thread itself.
    void syncTask(const dispatch::Task& task) override;
    bool isCurrent() const override;
    const std::string& label() const override { return label_; }

  private:
    std::string label_ = "main";
    QObject receiver_;
};

} // namespace zelvane
