// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <any>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "foundation/dispatch.h"

namespace zelvane {

struct Notification {
    std::string name;
    /// Who posted it: an identity, never dereferenced here.
    const void* object = nullptr;
    std::map<std::string, std::any, std::less<>> userInfo;
};

/// Ends a registration when it goes. A handler that is running on another thread at that moment may
/// still finish; none starts afterwards.
class NotificationObserver {
  public:
    NotificationObserver() = default;
    NotificationObserver(NotificationObserver&&) noexcept = default;
    NotificationObserver& operator=(NotificationObserver&& other) noexcept;
    ~NotificationObserver();

    struct Registration;
    explicit NotificationObserver(std::shared_ptr<Registration> registration);

  private:
    std::shared_ptr<Registration> registration_;
};

/// Tells whoever asked that something happened. Any thread.
class NotificationCenter {
  public:
    using Handler = std::function<void(const Notification&)>;

    /// The process-wide centre.
    static NotificationCenter& shared();

    /// Calls `handler` for notifications of this name from `object`, or from anyone when it is
    /// null: on `queue`, or on the posting thread within post() when there is no queue.
    [[nodiscard]] NotificationObserver addObserver(std::string name, const void* object,
                                                   std::shared_ptr<dispatch::Queue> queue,
                                                   Handler handler);

    /// Hands the notification to its observers in the order of their registration, no lock held.
    void post(const Notification& notification);

  private:
    std::mutex mutex_;
    std::vector<std::weak_ptr<NotificationObserver::Registration>> registrations_;
};

} // namespace zelvane
