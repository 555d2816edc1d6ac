// SPDX-License-Identifier: GPL-3.0-or-later
#include <algorithm>
#include <atomic>
#include <barrier>
#include <filesystem>
#include <fstream>
#include <latch>
#include <semaphore>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>
#include <pthread.h>
#include <sys/resource.h>
#include <unistd.h>

#include "foundation/dispatch.h"

namespace zelvane::dispatch {
namespace {

using namespace std::chrono_literals;

/// Blocks a queue until it is opened.
struct Gate {
    std::binary_semaphore isShut{0};
    std::binary_semaphore mayOpen{0};

    void shut(Queue& queue) {
        queue.async([this] {
            isShut.release();
            mayOpen.acquire();
        });
        isShut.acquire();
    }
    void open() { mayOpen.release(); }
};

TEST(SerialQueue, keepsTheOrderOfEachThreadAndRunsOneTaskAtATime) {
    constexpr int kThreads = 4;
    constexpr int kTasks = 500;
    const auto queue = makeSerialQueue("order");
    std::vector<std::vector<int>> seen(kThreads);
    int running = 0;
    bool everTwo = false;
    std::vector<std::thread> threads;
    threads.reserve(kThreads);
    for (int thread = 0; thread < kThreads; ++thread) {
        threads.emplace_back([&, thread] {
            for (int task = 0; task < kTasks; ++task) {
                const auto body = [&, thread, task] {
                    everTwo = everTwo || ++running > 1;
                    seen[static_cast<std::size_t>(thread)].push_back(task);
                    --running;
                };
                if (task % 3 == 0) {
                    queue->sync(body);
                } else {
                    queue->async(body);
                }
            }
        });
    }
    for (auto& thread : threads) {
        thread.join();
    }
    queue->sync([] {});
    for (const auto& tasks : seen) {
        EXPECT_EQ(tasks.size(), std::size_t{kTasks});
        EXPECT_TRUE(std::is_sorted(tasks.begin(), tasks.end()));
    }
    EXPECT_FALSE(everTwo);
}

TEST(SerialQueue, runsTasksInTheOrderOfTheCalls) {
    const auto queue = makeSerialQueue("order");
    std::string order;
    Gate gate;
    gate.shut(*queue);
    for (const char task : {'a', 'b'}) {
        queue->async([&order, task] { order += task; });
    }
    gate.open();
    queue->sync([&] {
        queue->async([&] { order += 'd'; });
        order += 'c';
    });
    queue->sync([&] { order += 'e'; });
    EXPECT_EQ(order, "abcde");
}

TEST(SerialQueue, syncReturnsResultsAndRethrowsExceptions) {
    const auto queue = makeSerialQueue("result");
    EXPECT_EQ(queue->sync([] { return std::string("value"); }), "value");
    EXPECT_THROW(queue->sync([] { throw std::runtime_error("void"); }), std::runtime_error);
    EXPECT_THROW(queue->sync([]() -> int { throw std::runtime_error("int"); }), std::runtime_error);
    EXPECT_EQ(queue->sync([] { return 5; }), 5) << "the queue continues";
}

TEST(SerialQueue, knowsItsOwnTasks) {
    const auto queue = makeSerialQueue("current");
    const auto other = makeSerialQueue("other");
    EXPECT_FALSE(queue->isCurrent());
    EXPECT_TRUE(queue->sync([&] { return queue->isCurrent() && !other->isCurrent(); }));
    EXPECT_TRUE(queue->sync(
        [&] { return other->sync([&] { return queue->isCurrent() && other->isCurrent(); }); }));
    std::atomic<bool> wasCurrent{false};
    queue->async([&] { wasCurrent = queue->isCurrent(); });
    queue->sync([] {});
    EXPECT_TRUE(wasCurrent);
}

TEST(Queues, destroyCapturedObjectsWithinTheQueue) {
    const auto loop = std::make_shared<RunLoopQueue>();
    const auto serial = makeSerialQueue("captures");
    for (const auto& queue : {std::shared_ptr<Queue>(loop), std::shared_ptr<Queue>(serial)}) {
        std::atomic<bool> wasCurrent{false};
        queue->async([capture = std::shared_ptr<void>(
                          nullptr, [&](std::nullptr_t) { wasCurrent = queue->isCurrent(); })] {});
        loop->runPending();
        serial->sync([] {});
        EXPECT_TRUE(wasCurrent);
    }
}

TEST(SerialQueue, waitingTasksRunAfterTheQueueIsReleased) {
    std::latch done(3);
    Gate gate;
    {
        const auto queue = makeSerialQueue("gone");
        gate.shut(*queue);
        for (int i = 0; i < 3; ++i) {
            queue->async([&] { done.count_down(); });
        }
    }
    gate.open();
    done.wait();
}

/// For each thread with a name: how often it has waited.
std::vector<int> waitsOfThreadsNamed(const std::string& name) {
    std::vector<int> waits;
    for (const auto& thread : std::filesystem::directory_iterator("/proc/self/task")) {
        std::ifstream stream(thread.path() / "status");
        std::string line;
        if (!std::getline(stream, line) || line != "Name:\t" + name) {
            continue;
        }
        constexpr std::string_view kKey = "voluntary_ctxt_switches:";
        while (std::getline(stream, line)) {
            if (line.starts_with(kKey)) {
                waits.push_back(std::stoi(line.substr(kKey.size())));
            }
        }
    }
    return waits;
}

std::size_t threadsNamed(const std::string& name) {
    return waitsOfThreadsNamed(name).size();
}

bool becomesTrue(const std::function<bool()>& condition) {
    const auto deadline = std::chrono::steady_clock::now() + 10s;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline) {
            return false;
        }
        std::this_thread::yield();
    }
    return true;
}

TEST(SerialQueue, itsThreadHasTheLabelAndEndsWithTheQueue) {
    auto queue = makeSerialQueue("named thread of the queue");
    queue->async([] {});
    EXPECT_TRUE(becomesTrue([] { return threadsNamed("named thread of") == 1; }));
    queue.reset();
    EXPECT_TRUE(becomesTrue([] { return threadsNamed("named thread of") == 0; }));
}

TEST(SerialQueue, itsThreadEndsWhenTheQueueIsReleasedDuringASync) {
    auto queue = makeSerialQueue("gone in sync");
    queue->async([] {});
    queue->sync([] {});
    SerialQueue* raw = queue.get();
    raw->sync([&] {
        const auto before = waitsOfThreadsNamed("gone in sync");
        queue.reset();
        // The thread wakes, finds that the queue is owned, and waits again.
        EXPECT_TRUE(becomesTrue([&] { return waitsOfThreadsNamed("gone in sync") != before; }));
    });
    EXPECT_TRUE(becomesTrue([] { return threadsNamed("gone in sync") == 0; }));
}

TEST(QueueDeathTest, syncFromItsOwnTaskStopsTheProcess) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const auto queue = makeSerialQueue("knot");
    EXPECT_DEATH(queue->sync([&] { queue->sync([] {}); }),
                 "sync called on queue \"knot\" by one of its own tasks\\.");
    const auto other = makeSerialQueue("between");
    EXPECT_DEATH(queue->sync([&] { other->sync([&] { queue->sync([] {}); }); }), "knot");
    RunLoopQueue loop("loop");
    loop.async([&] { loop.sync([] {}); });
    EXPECT_DEATH(loop.runPending(), "sync called on queue \"loop\"");
}

TEST(GlobalQueue, runsTasksSideBySide) {
    constexpr int kTasks = 4;
    for (const auto qos : {QualityOfService::unspecified, QualityOfService::userInitiated,
                           QualityOfService::userInteractive}) {
        // Each task waits for all others.
        const auto together = std::make_shared<std::barrier<>>(kTasks + 1);
        for (int i = 0; i < kTasks; ++i) {
            globalQueue(qos)->async([together] { together->arrive_and_wait(); });
        }
        together->arrive_and_wait();
    }
    EXPECT_TRUE(waitForQuiescence(10s));
}

TEST(Queues, onlyUtilityThreadsHaveALowerPriority) {
    const int usual = getpriority(PRIO_PROCESS, 0);
    for (const auto qos : {QualityOfService::utility, QualityOfService::userInitiated}) {
        for (const auto& queue :
             {std::shared_ptr<Queue>(makeSerialQueue("q", qos)), globalQueue(qos)}) {
            std::atomic<int> niceness{-1};
            queue->async(
                [&] { niceness = getpriority(PRIO_PROCESS, static_cast<id_t>(gettid())); });
            EXPECT_TRUE(waitForQuiescence(5s));
            EXPECT_EQ(niceness > usual, qos == QualityOfService::utility);
        }
    }
}

TEST(Queues, withoutAThreadATaskIsNotTaken) {
    pthread_attr_t usual;
    pthread_getattr_default_np(&usual);
    pthread_attr_t impossible;
    pthread_attr_init(&impossible);
    pthread_attr_setstacksize(&impossible, std::size_t{1} << 47);
    for (const auto& queue : {std::shared_ptr<Queue>(makeSerialQueue("poor")),
                              globalQueue(QualityOfService::userInitiated)}) {
        std::counting_semaphore<> mayEnd{0};
        std::atomic<int> runs{0};
        int taken = 0;
        const auto add = [&] {
            queue->async([&] {
                mayEnd.acquire();
                ++runs;
            });
            ++taken;
        };
        pthread_setattr_default_np(&impossible);
        // A global queue may have idle threads.
        EXPECT_THROW(
            while (taken < 100) { add(); }, std::system_error);
        pthread_setattr_default_np(&usual);
        add();
        mayEnd.release(taken);
        EXPECT_TRUE(waitForQuiescence(5s));
        EXPECT_EQ(runs, taken);
    }
}

TEST(RunLoopQueue, runsTasksOnlyInItsRunFunctions) {
    RunLoopQueue queue;
    std::string order;
    queue.async([&] {
        order += 'a';
        queue.async([&] { order += 'c'; });
    });
    queue.async([&] { order += 'b'; });
    EXPECT_EQ(order, "");
    EXPECT_TRUE(queue.runOne());
    EXPECT_EQ(order, "a");
    queue.runPending();
    EXPECT_EQ(order, "abc");
    EXPECT_FALSE(queue.runOne());
}

TEST(RunLoopQueue, servesOtherThreads) {
    RunLoopQueue queue;
    std::atomic<bool> done{false};
    std::thread::id ranOn;
    std::thread other([&] {
        queue.sync([&] { ranOn = std::this_thread::get_id(); });
        done = true;
        queue.async([] {});
    });
    EXPECT_TRUE(queue.runUntil([&] { return done.load(); }, 10s));
    other.join();
    EXPECT_EQ(ranOn, std::this_thread::get_id());
    EXPECT_FALSE(queue.runUntil([] { return false; }, 1ms));
}

TEST(MainQueueDeathTest, stopsTheProcessUntilOneIsSet) {
    EXPECT_DEATH(mainQueue(), "No main queue has been set\\.");
    const auto queue = std::make_shared<RunLoopQueue>();
    setMainQueue(queue);
    EXPECT_EQ(mainQueue(), queue);
    setMainQueue(nullptr);
}

TEST(Group, notifiesWhenAllHaveLeft) {
    const auto queue = std::make_shared<RunLoopQueue>();
    const Group group;
    std::string order;
    group.notify(queue, [&] { order += "first"; });
    queue->runPending();
    EXPECT_EQ(order, "first") << "no work has entered";
    group.enter();
    group.enter();
    group.notify(queue, [&] { order += " second"; });
    group.leave();
    queue->runPending();
    EXPECT_EQ(order, "first");
    group.leave();
    queue->runPending();
    EXPECT_EQ(order, "first second");
}

TEST(Group, waitsForOtherThreads) {
    const Group group;
    std::atomic<int> ended{0};
    for (int i = 0; i < 8; ++i) {
        group.enter();
        globalQueue(QualityOfService::unspecified)->async([&, group] {
            ++ended;
            group.leave();
        });
    }
    group.wait();
    EXPECT_EQ(ended, 8);
}

TEST(GroupDeathTest, oneLeaveTooManyStopsTheProcess) {
    const Group group;
    EXPECT_DEATH(group.leave(), "Unbalanced leave of a dispatch group\\.");
}

TEST(Quiescence, isReachedWhenNoTaskWaitsOrRuns) {
    const auto queue = makeSerialQueue("busy");
    Gate gate;
    gate.shut(*queue);
    EXPECT_FALSE(waitForQuiescence(1ms));
    gate.open();
    EXPECT_TRUE(waitForQuiescence(10s));
}

} // namespace
} // namespace zelvane::dispatch
