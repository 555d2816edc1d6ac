// SPDX-License-Identifier: GPL-3.0-or-later
#include <string>

#include <gtest/gtest.h>

#include "foundation/notification_center.h"

namespace zelvane {
namespace {

TEST(NotificationCenter, tellsThoseWhoAskedInTheirOrder) {
    NotificationCenter center;
    const int one = 1;
    const int two = 2;
    std::string told;
    const auto note = [&](const std::string& name) {
        return [&told, name](const Notification&) { told += name; };
    };
    const auto all = center.addObserver("changed", nullptr, nullptr, note("a"));
    const auto ofOne = center.addObserver("changed", &one, nullptr, note("b"));
    const auto otherName = center.addObserver("ended", nullptr, nullptr, note("c"));
    center.post({"changed", &one, {}});
    EXPECT_EQ(told, "ab");
    center.post({"changed", &two, {}});
    EXPECT_EQ(told, "aba");
    center.post({"ended", nullptr, {}});
    EXPECT_EQ(told, "abac");
}

TEST(NotificationCenter, carriesWhoAndWhat) {
    NotificationCenter center;
    const int sender = 0;
    int value = 0;
    const auto observer =
        center.addObserver("changed", nullptr, nullptr, [&](const Notification& notification) {
            EXPECT_EQ(notification.object, &sender);
            value = std::any_cast<int>(notification.userInfo.at("value"));
        });
    center.post({"changed", &sender, {{"value", 42}}});
    EXPECT_EQ(value, 42);
}

TEST(NotificationCenter, deliversOnTheQueueAndNotAfterTheEndOfARegistration) {
    NotificationCenter center;
    const auto queue = std::make_shared<dispatch::RunLoopQueue>();
    int told = 0;
    auto observer =
        center.addObserver("changed", nullptr, queue, [&](const Notification&) { ++told; });
    center.post({"changed", nullptr, {}});
    EXPECT_EQ(told, 0);
    queue->runPending();
    EXPECT_EQ(told, 1);
    center.post({"changed", nullptr, {}});
    observer = {};
    queue->runPending();
    EXPECT_EQ(told, 1) << "it was on its way when the registration ended";
}

TEST(NotificationCenter, anAssignedObserverEndsTheOneBefore) {
    NotificationCenter center;
    std::string told;
    const auto note = [&](const std::string& name) {
        return [&told, name](const Notification&) { told += name; };
    };
    auto first = center.addObserver("changed", nullptr, nullptr, note("a"));
    auto second = center.addObserver("changed", nullptr, nullptr, note("b"));
    first = std::move(second);
    center.post({"changed", nullptr, {}});
    EXPECT_EQ(told, "b");
}

TEST(NotificationCenter, aHandlerMayRegisterAndEndRegistrations) {
    NotificationCenter center;
    std::string told;
    NotificationObserver second;
    NotificationObserver third;
    const auto first = center.addObserver("changed", nullptr, nullptr, [&](const Notification&) {
        told += "a";
        second = {};
        if (told == "a") {
            third = center.addObserver("changed", nullptr, nullptr,
                                       [&](const Notification&) { told += "c"; });
        }
    });
    second =
        center.addObserver("changed", nullptr, nullptr, [&](const Notification&) { told += "b"; });
    center.post({"changed", nullptr, {}});
    EXPECT_EQ(told, "a");
    center.post({"changed", nullptr, {}});
    EXPECT_EQ(told, "aac");
}

} // namespace
} // namespace zelvane
