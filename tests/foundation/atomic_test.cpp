// SPDX-License-Identifier: GPL-3.0-or-later
#include <string>
#include <thread>

#include <gtest/gtest.h>

#include "foundation/atomic.h"

namespace zelvane {
namespace {

TEST(Atomic, callsHandlersBeforeAndAfterAChangeOnly) {
    Atomic<int> atomic(1);
    std::string calls;
    const auto change = [&](int value) {
        return atomic.compareAndChange(
            value,
            [&](int old) { calls += "will" + std::to_string(old) + std::to_string(atomic.load()); },
            [&](int now) { calls += "did" + std::to_string(now) + std::to_string(atomic.load()); });
    };
    EXPECT_FALSE(change(1));
    EXPECT_EQ(calls, "");
    EXPECT_TRUE(change(2));
    EXPECT_EQ(calls, "will11did22");
    EXPECT_EQ(atomic.exchange(3), 2);
    EXPECT_EQ(atomic.load(), 3);
}

TEST(Atomic, letsAHandlerChangeTheSameValue) {
    Atomic<int> atomic(0);
    atomic.compareAndChange(
        1, [](int) {}, [&](int) { atomic.store(7); });
    EXPECT_EQ(atomic.load(), 7);
}

TEST(Atomic, losesNoChangeBetweenThreads) {
    Atomic<int> atomic(0);
    const auto count = [&] {
        for (int i = 0; i < 10000; ++i) {
            atomic.withLock([](int& value) { ++value; });
        }
    };
    std::thread other(count);
    count();
    other.join();
    EXPECT_EQ(atomic.load(), 20000);
}

TEST(Atomic, valuesWithASharedLockChangeTogether) {
    Atomic<int> first(0);
    Atomic<int> second(0, first.lock());
    Atomic<int> third(0);
    third.shareLock(first.lock());
    std::thread writer([&] {
        for (int i = 1; i <= 10000; ++i) {
            first.withLock([&](int& value) {
                value = i;
                second.store(i);
                third.store(i);
            });
        }
    });
    bool agree = true;
    while (third.load() < 10000) {
        second.withLock(
            [&](int value) { agree = agree && first.load() == value && third.load() == value; });
    }
    writer.join();
    EXPECT_TRUE(agree);
}

} // namespace
} // namespace zelvane
