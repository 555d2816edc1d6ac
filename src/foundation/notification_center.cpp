// SPDX-License-Identifier: GPL-3.0-or-later
#include "foundation/notification_center.h"

#include <algorithm>
#include <atomic>

namespace zelvane {

struct NotificationObserver::Registration {
    std::string name;
    const void* object = nullptr;
    std::shared_ptr<dispatch::Queue> queue;
    NotificationCenter::Handler handler;
    std::atomic<bool> isActive{true};

    bool wants(const Notification& notification) const {
        return name == notification.name &&
               (object == nullptr || object == notification.object);
    }
};

NotificationObserver::NotificationObserver(std::shared_ptr<Registration> registration)
    : registration_(std::move(registration)) {}

NotificationObserver& NotificationObserver::operator=(NotificationObserver&& other) noexcept {
    const NotificationObserver ended(std::move(*this));
    registration_ = std::move(other.registration_);
    return *this;
}

NotificationObserver::~NotificationObserver() {
    if (registration_) {
        registration_->isActive = false;
    }
}

NotificationCenter& NotificationCenter::shared() {
    static NotificationCenter& center = *std::make_unique<NotificationCenter>().release();
    return center;
}

NotificationObserver NotificationCenter::addObserver(std::string name, const void* object,
                                                     std::shared_ptr<dispatch::Queue> queue,
                                                     Handler handler) {
    auto registration = std::make_shared<NotificationObserver::Registration>();
    registration->name = std::move(name);
    registration->object = object;
    registration->queue = std::move(queue);
    registration->handler = std::move(handler);
    const std::lock_guard lock(mutex_);
    std::erase_if(registrations_, [](const auto& known) { return known.expired(); });
    registrations_.push_back(registration);
    return NotificationObserver(std::move(registration));
}

void NotificationCenter::post(const Notification& notification) {
    std::vector<std::shared_ptr<NotificationObserver::Registration>> receivers;
    {
        const std::lock_guard lock(mutex_);
        for (const auto& known : registrations_) {
            auto registration = known.lock();
            if (registration && registration->wants(notification)) {
                receivers.push_back(std::move(registration));
            }
        }
    }
    for (const auto& receiver : receivers) {
        const auto deliver = [receiver, notification] {
            if (receiver->isActive) {
                receiver->handler(notification);
            }
        };
        if (receiver->queue) {
            receiver->queue->async(deliver);
        } else {
            deliver();
        }
    }
}

} // namespace zelvane
