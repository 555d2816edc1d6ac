// SPDX-License-Identifier: GPL-3.0-or-later
#include "foundation/automatic_termination_manager.h"

#include <utility>

namespace zelvane {

AutomaticTerminationManager::AutomaticTerminationManager(std::shared_ptr<ProcessInfo> processInfo)
    : processInfo_(std::move(processInfo)) {}

AutomaticTerminationManager::~AutomaticTerminationManager() {
    enable("Automatic Termination Manager was deinitialized.");
}

void AutomaticTerminationManager::disable(const std::string& reason) {
    if (std::exchange(isAutomaticTerminationEnabled_, false)) {
        processInfo_->disableAutomaticTermination(reason);
    }
}

void AutomaticTerminationManager::enable(const std::string& reason) {
    if (!std::exchange(isAutomaticTerminationEnabled_, true)) {
        processInfo_->enableAutomaticTermination(reason);
    }
}

} // namespace zelvane
