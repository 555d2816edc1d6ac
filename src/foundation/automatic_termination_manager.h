// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>
#include <string>

namespace zelvane {

/// What a session may do to an idle application. It counts the claims of all holders. This one asks
/// nobody: for sessions that never end an application by themselves. Any thread.
class ProcessInfo {
  public:
    virtual ~ProcessInfo() = default;
    virtual void disableAutomaticTermination(const std::string& /*reason*/) {}
    virtual void enableAutomaticTermination(const std::string& /*reason*/) {}
};

/// Keeps the session from ending the application while its holder needs it, with one claim at most,
/// which goes with it. Used on its holder's queue.
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
