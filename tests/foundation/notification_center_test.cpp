// SPDX-License-Identifier: GPL-3.0-or-later
#include <string>

#include <gtest/gtest.h>

#include "foundation/notification_center.h"

namespace zelvane {
namespace {

/// Appends a name to a text.
NotificationCenter::Handler append(std::string& text, const std::string& name) {
    return [&text, name](const Notification&) { text += name; };
}

TEST(NotificationCenter, callsObserversOfTheNameAndObjectInTheirOrder) {
    NotificationCenter center;
    const int one = 1;
    const int two = 2;
    std::string called;
    int value = 0;
    const auto all = center.addObserver("changed", nullptr, nullptr, append(called, "a"));
    const auto ofOne =
        center.addObserver("changed", &one, nullptr, [&](const Notification& notification) {
            called += "b";
            EXPECT_EQ(notification.object, &one);
            value = std::any_cast<int>(notification.userInfo.at("value"));
        });
    const auto otherName = center.addObserver("ended", nullptr, nullptr, append(called, "c"));
    center.post({"changed", &one, {{"value", 42}}});
    EXPECT_EQ(called, "ab");
    EXPECT_EQ(value, 42);
    center.post({"changed", &two, {}});
    center.post({"ended", nullptr, {}});
    EXPECT_EQ(called, "abac");
}

TEST(NotificationCenter, deliversOnTheQueueAndNotAfterTheEndOfARegistration) {
    NotificationCenter center;
    const auto queue = std::make_shared<dispatch::RunLoopQueue>();
    int called = 0;
    auto observer =
        center.addObserver("changed", nullptr, queue, [&](const Notification&) { ++called; });
    center.post({"changed", nullptr, {}});
    EXPECT_EQ(called, 0);
    queue->runPending();
    EXPECT_EQ(called, 1);
    center.post({"changed", nullptr, {}});
    observer = {};
    queue->runPending();
    EXPECT_EQ(called, 1) << "the registration ended before the queue ran";
}

TEST(NotificationCenter, anAssignmentEndsTheEarlierRegistration) {
    NotificationCenter center;
    std::string called;
    auto first = center.addObserver("changed", nullptr, nullptr, append(called, "a"));
    auto second = center.addObserver("changed", nullptr, nullptr, append(called, "b"));
    first = std::move(second);
    center.post({"changed", nullptr, {}});
    EXPECT_EQ(called, "b");
}

TEST(NotificationCenter, aHandlerMayAddAndEndRegistrations) {
    NotificationCenter center;
    std::string called;
    NotificationObserver second;
    NotificationObserver third;
    const auto first = center.addObserver("changed", nullptr, nullptr, [&](const Notification&) {
        called += "a";
        second = {};
        if (called == "a") {
            third = center.addObserver("changed", nullptr, nullptr, append(called, "c"));
        }
    });
    second = center.addObserver("changed", nullptr, nullptr, append(called, "b"));
    center.post({"changed", nullptr, {}});
    EXPECT_EQ(called, "a");
    center.post({"changed", nullptr, {}});
    EXPECT_EQ(called, "aac");
}

} // namespace
} // namespace zelvane
