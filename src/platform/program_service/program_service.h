// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <QDBusConnection>
#include <QDBusPendingCall>
#include <QObject>
#include <QVariantMap>

#include "foundation/url.h"

namespace zelvane {

/// What other processes ask of the program. The calls come on the main thread.
struct ProgramRequests {
    std::function<void()> activate = [] {};
    std::function<void(const std::vector<URL>&)> open = [](const std::vector<URL>&) {};
    /// Returns whether there is such an action.
    std::function<bool(const std::string& name)> activateAction = [](const std::string&) {
        return false;
    };
};

/// What lets a window that a process opens for another one come to the front.
QVariantMap activationTokens();

/// The only process of this program in the session: it owns the name org.zelvane.Player on the bus
/// and serves org.freedesktop.Application there. Main thread.
class ProgramService final : public QObject {
  public:
    /// Asks the bus for the name and does not wait. On a connection that is not connected it does
    /// nothing.
    explicit ProgramService(const QDBusConnection& bus);
    /// Gives the name back.
    ~ProgramService() override;

    /// Waits at most a second for the bus. If another process has the name, it gets the files, or
    /// is activated without files. Returns whether it has answered: then this process is not
    /// needed. If the other process does not answer, this one gets the name after its end.
    bool isServedByOther(const std::vector<URL>& files, const QVariantMap& tokens);

    /// Before the event loop runs: requests wait for it.
    void setRequests(ProgramRequests requests) { requests_ = std::move(requests); }
    const ProgramRequests& requests() const { return requests_; }
    const QDBusConnection& bus() const { return bus_; }

  private:
    QDBusConnection bus_;
    ProgramRequests requests_;
    std::optional<QDBusPendingCall> nameRequest_;
};

} // namespace zelvane
