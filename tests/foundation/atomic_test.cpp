// SPDX-License-Identifier: GPL-3.0-or-later
#include <string>
#include <thread>

#include <gtest/gtest.h>

#include "foundation/atomic.h"

namespace zelvane {
namespace {

TEST(Atomic, handlersSurroundAChangeAndOnlyAChange) {
    Atomic<int> box(1);
    std::string calls;
    const auto change = [&](int value) {
        return box.compareAndChange(
            value,
            [&](int old) { calls += "will" + std::to_string(old) + std::to_string(box.load()); },
            [&](int now) { calls += "did" + std::to_string(now) + std::to_string(box.load()); });
    };
    EXPECT_FALSE(change(1));
    EXPECT_EQ(calls, "");
    EXPECT_TRUE(change(2));
    EXPECT_EQ(calls, "will11did22");
    EXPECT_EQ(box.exchange(3), 2);
    EXPECT_EQ(box.load(), 3);
}

TEST(Atomic, aHandlerMayChangeTheSameBox) {
    Atomic<int> box(0);
    box.compareAndChange(
        1, [](int) {}, [&](int) { box.store(7); });
    EXPECT_EQ(box.load(), 7);
}

TEST(Atomic, noChangeIsLostBetweenThreads) {
    Atomic<int> box(0);
    const auto count = [&] {
        for (int i = 0; i < 10000; ++i) {
            box.withLock([](int& value) { ++value; });
        }
    };
    std::thread other(count);
    count();
    other.join();
    EXPECT_EQ(box.load(), 20000);
}

TEST(Atomic, boxesOfOneLockChangeAsOne) {
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
