// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "foundation/status_error.h"

namespace zelvane {

/// The session's service that keeps the display awake. This base class does nothing. Any thread.
class PowerManagement {
  public:
    using AssertionID = std::uint32_t;

    virtual ~PowerManagement() = default;
    /// Keeps the display awake until the assertion is released. Returns kNoErr, or a status to log.
    virtual OSStatus createDisplayAwakeAssertion(const std::string& /*reason*/,
                                                 AssertionID& assertion) {
        assertion = 0;
        return kNoErr;
    }
    virtual OSStatus releaseAssertion(AssertionID /*assertion*/) { return kNoErr; }
};

/// Keeps the display awake while its owner needs it, with at most one assertion, released at the
/// latest by the destructor. Used on its owner's queue.
class IdleSleepManager {
  public:
    explicit IdleSleepManager(std::shared_ptr<PowerManagement> powerManagement);
    ~IdleSleepManager();
    IdleSleepManager(const IdleSleepManager&) = delete;
    IdleSleepManager& operator=(const IdleSleepManager&) = delete;

    void preventSleep(const std::string& reason);
    void allowSleep();

  private:
    std::shared_ptr<PowerManagement> powerManagement_;
    std::optional<PowerManagement::AssertionID> powerManagementAssertionID_;
};

} // namespace zelvane
