// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <atomic>
#include <memory>

namespace zelvane {

/// Makes the load that has a copy of this fail at its next read, and all later reads of what it has
/// opened. A read that the system does not end cannot be interrupted. Any thread.
class LoadInterruption {
  public:
    void request() const { *isRequested_ = true; }
    bool isRequested() const { return *isRequested_; }

  private:
    std::shared_ptr<std::atomic<bool>> isRequested_ = std::make_shared<std::atomic<bool>>(false);
};

} // namespace zelvane
