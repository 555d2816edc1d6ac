// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <chrono>
#include <condition_variable>
#include <exception>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <type_traits>

namespace zelvane::dispatch {

using Task = std::function<void()>;

/// How urgent the tasks of a queue are. Linux lets a thread only lower its own priority: threads of
/// `utility` queues give way to all others, which run at the priority of the process.
enum class QualityOfService { unspecified, userInteractive, userInitiated, utility };

/// Runs tasks. Queues are shared: each user holds a reference. A task of async() must not throw;
/// sync() rethrows what its block throws.
class Queue {
  public:
    virtual ~Queue() = default;

    /// Runs `task` later, never before async returns to a caller on the same queue. Throws
    /// std::system_error, and does not take the task, when the system has no thread for it.
    virtual void async(Task task) = 0;
    /// Runs `task` in the order of the queue and waits for its end. A call from a task of the same
    /// queue would wait for itself: it stops the process with a message.
    virtual void syncTask(const Task& task) = 0;
    /// Whether the calling code runs in a task of this queue.
    virtual bool isCurrent() const = 0;

    /// syncTask(), returning the result of the block or rethrowing its exception.
    template <class Block>
    std::invoke_result_t<Block&> sync(Block&& block) {
        using Result = std::invoke_result_t<Block&>;
        std::exception_ptr failure;
        if constexpr (std::is_void_v<Result>) {
            syncTask([&] {
                try {
                    block();
                } catch (...) {
                    failure = std::current_exception();
                }
            });
            rethrow(failure);
        } else {
            std::optional<Result> result;
            syncTask([&] {
                try {
                    result.emplace(block());
                } catch (...) {
                    failure = std::current_exception();
                }
            });
            rethrow(failure);
            return std::move(*result);
        }
    }

  private:
    static void rethrow(const std::exception_ptr& failure) {
        if (failure) {
            std::rethrow_exception(failure);
        }
    }
};

/// Runs its tasks one at a time, in the order of the calls. Asynchronous tasks run on a thread of
/// the queue, which the first of them starts and which has the label as its name. A synchronous
/// task runs on the caller's thread, so that an uncontended sync needs no thread switch. Tasks that
/// are waiting when the last reference is released still run.
class SerialQueue final : public Queue {
  public:
    explicit SerialQueue(std::string label, QualityOfService qos = QualityOfService::unspecified);
    ~SerialQueue() override;
    SerialQueue(const SerialQueue&) = delete;
    SerialQueue& operator=(const SerialQueue&) = delete;

    void async(Task task) override;
    void syncTask(const Task& task) override;
    bool isCurrent() const override;

  private:
    class State;
    std::shared_ptr<State> state_;
};

std::shared_ptr<SerialQueue> makeSerialQueue(std::string label,
                                             QualityOfService qos = QualityOfService::unspecified);

/// The shared concurrent queue of a quality of service. Its threads are started as needed and end
/// after some idle seconds.
const std::shared_ptr<Queue>& globalQueue(QualityOfService qos);

/// The queue of the main thread: the event loop in the application, a RunLoopQueue in tools and
/// tests. When none was set, the process stops with a message.
std::shared_ptr<Queue> mainQueue();
void setMainQueue(std::shared_ptr<Queue> queue);

/// A queue whose tasks run only within its run functions, on the calling thread. It is the main
/// queue where there is no toolkit, and lets a test decide when each task runs.
class RunLoopQueue final : public Queue {
  public:
    explicit RunLoopQueue(std::string label = "main");
    ~RunLoopQueue() override;

    void async(Task task) override;
    void syncTask(const Task& task) override;
    bool isCurrent() const override;

    /// Runs the first waiting task. Returns false when there is none.
    bool runOne();
    /// Runs waiting tasks, and those that they add, until none waits.
    void runPending();
    /// Runs tasks until `done` returns true, checked after each of them, or `timeout` has passed.
    /// Returns the last result of `done`.
    bool runUntil(const std::function<bool()>& done, std::chrono::milliseconds timeout);

  private:
    struct State;
    std::string label_;
    std::unique_ptr<State> state_;
};

/// Counts units of work on any threads and notifies when all have ended.
class Group {
  public:
    Group();
    void enter() const;
    /// Balances one enter(). A call without one stops the process.
    void leave() const;
    /// Runs `task` on `queue` when the count is zero, immediately if it is zero now.
    void notify(const std::shared_ptr<Queue>& queue, Task task) const;
    void wait() const;

  private:
    struct State;
    std::shared_ptr<State> state_;
};

/// Waits until no task of a serial or global queue is waiting or running, for the end of main() and
/// of tests. Returns false after `timeout`.
bool waitForQuiescence(std::chrono::milliseconds timeout);

} // namespace zelvane::dispatch
