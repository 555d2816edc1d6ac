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
    /// The identity of the poster; never dereferenced here.
    const void* object = nullptr;
    std::map<std::string, std::any, std::less<>> userInfo;
};

/// Ends a registration when it is destroyed. No call of the handler starts afterwards; one that
/// runs on another thread at that moment may still be running.
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

/// Passes notifications from posters to observers. Any thread.
class NotificationCenter {
  public:
    using Handler = std::function<void(const Notification&)>;

    /// The one of the process.
    static NotificationCenter& shared();

    /// Calls `handler` for notifications with this name and object; a null object means any. The
    /// call is made on `queue`, or within post() on the posting thread when there is no queue.
    [[nodiscard]] NotificationObserver addObserver(std::string name, const void* object,
                                                   std::shared_ptr<dispatch::Queue> queue,
                                                   Handler handler);

    /// Calls the observers in the order of their registration, without a lock.
    void post(const Notification& notification);

  private:
    std::mutex mutex_;
    std::vector<std::weak_ptr<NotificationObserver::Registration>> registrations_;
};

} // namespace zelvane
