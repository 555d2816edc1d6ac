// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>
#include <string>

namespace zelvane {

/// The session's service that ends idle applications; it counts the claims of all managers. This
/// base class does nothing, for sessions that never end an application. Any thread.
class ProcessInfo {
  public:
    virtual ~ProcessInfo() = default;
    virtual void disableAutomaticTermination(const std::string& /*reason*/) {}
    virtual void enableAutomaticTermination(const std::string& /*reason*/) {}
};

/// Keeps the session from ending the application while its owner needs it, with at most one claim,
/// released at the latest by the destructor. Used on its owner's queue.
class AutomaticTerminationManager {
  public:
    explicit AutomaticTerminationManager(std::shared_ptr<ProcessInfo> processInfo);
    ~AutomaticTerminationManager();
    AutomaticTerminationManager(const AutomaticTerminationManager&) = delete;
    AutomaticTerminationManager& operator=(const AutomaticTerminationManager&) = delete;

    bool isAutomaticTerminationEnabled() const { return isAutomaticTerminationEnabled_; }
    void disable(const std::string& reason);
    void enable(const std::string& reason);

  private:
    std::shared_ptr<ProcessInfo> processInfo_;
    bool isAutomaticTerminationEnabled_ = true;
};

} // namespace zelvane
