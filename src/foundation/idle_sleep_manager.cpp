// SPDX-License-Identifier: GPL-3.0-or-later
#include "foundation/idle_sleep_manager.h"

#include "foundation/log.h"

namespace zelvane {

IdleSleepManager::IdleSleepManager(std::shared_ptr<PowerManagement> powerManagement)
    : powerManagement_(std::move(powerManagement)) {}

IdleSleepManager::~IdleSleepManager() {
    allowSleep();
}

void IdleSleepManager::preventSleep(const std::string& reason) {
    if (powerManagementAssertionID_) {
        return;
    }
    PowerManagement::AssertionID assertion = 0;
    const OSStatus status = powerManagement_->createDisplayAwakeAssertion(reason, assertion);
    if (status == kNoErr) {
        powerManagementAssertionID_ = assertion;
    } else {
        logMessage("Failed to create power management assertion to prevent idle sleep: {}.",
                   status);
    }
}

void IdleSleepManager::allowSleep() {
    if (!powerManagementAssertionID_) {
        return;
    }
    const OSStatus status = powerManagement_->releaseAssertion(*powerManagementAssertionID_);
    if (status == kNoErr) {
        powerManagementAssertionID_.reset();
    } else {
        logMessage("Failed to release the power management assertion that is preventing idle "
                   "sleep: {}.",
                   status);
    }
}

} // namespace zelvane
