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

enum class QualityOfService { unspecified, userInteractive, userInitiated, utility };

/// Something that runs tasks. Queues are shared by reference: whoever hands work over holds one.
/// A task must not throw out of async(); what a sync() block throws reaches its caller.
class Queue {
  public:
    virtual ~Queue() = default;

    /// Runs `task` later, never before async returns to a caller on the same queue.
    virtual void async(Task task) = 0;
    /// Runs `task` in the order of the queue and waits for its end. Calling it from a task of the
    /// same queue could never end and stops the process with a message.
    virtual void syncTask(const Task& task) = 0;
    /// Whether the caller is a task of this queue.
    virtual bool isCurrent() const = 0;
    virtual const std::string& label() const = 0;

    /// syncTask with the block's result, and with its exception rethrown to the caller.
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

/// Runs its tasks one after the other, in the order in which they came. Asynchronous ones run on a
/// thread of its own, started by the first of them and named by the label; a synchronous one runs
/// on the caller's thread when its turn has come, so that an uncontended sync costs no thread
/// switch. Tasks that wait when the last reference goes still run.
class SerialQueue final : public Queue {
  public:
    explicit SerialQueue(std::string label, QualityOfService qos = QualityOfService::unspecified);
    ~SerialQueue() override;
    SerialQueue(const SerialQueue&) = delete;
    SerialQueue& operator=(const SerialQueue&) = delete;

    void async(Task task) override;
    void syncTask(const Task& task) override;
    bool isCurrent() const override;
    const std::string& label() const override;

  private:
    class State;
    std::shared_ptr<State> state_;
};

std::shared_ptr<SerialQueue> makeSerialQueue(std::string label,
                                             QualityOfService qos = QualityOfService::unspecified);

/// The shared concurrent queue of a quality of service: tasks run side by side on threads that are
/// started as they are needed and kept for a while.
const std::shared_ptr<Queue>& globalQueue(QualityOfService qos);

/// The queue of the main thread. The application puts its event loop here, tools and tests a
/// RunLoopQueue; without one the process stops with a message.
std::shared_ptr<Queue> mainQueue();
void setMainQueue(std::shared_ptr<Queue> queue);

/// A queue cranked by hand, by the thread that calls its run functions. It serves as the main queue
/// where no toolkit has an event loop, and lets a test decide when each task runs.
class RunLoopQueue final : public Queue {
  public:
    explicit RunLoopQueue(std::string label = "main");
    ~RunLoopQueue() override;

    void async(Task task) override;
    void syncTask(const Task& task) override;
    bool isCurrent() const override;
    const std::string& label() const override { return label_; }

    /// Runs the first waiting task; false when there is none.
    bool runOne();
    /// Runs what waits, and what that adds, until nothing waits.
    void runPending();
    /// Runs tasks as they come until `done` says so after one of them, or the time is out. Returns
    /// the last answer of `done`.
    bool runUntil(const std::function<bool()>& done, std::chrono::milliseconds timeout);

  private:
    struct State;
    std::string label_;
    std::unique_ptr<State> state_;
};

/// Counts work under way on any threads and tells when all of it has ended.
class Group {
  public:
    Group();
    void enter() const;
    /// Balances one enter(); one too many stops the process.
    void leave() const;
    /// Runs `task` on `queue` once the count is zero: at once if it is already.
    void notify(const std::shared_ptr<Queue>& queue, Task task) const;
    void wait() const;

  private:
    struct State;
    std::shared_ptr<State> state_;
};

/// Waits until every thread that queues have started has nothing left to do, for the end of main()
/// and of tests. False when that took longer than `timeout`.
bool waitForQuiescence(std::chrono::milliseconds timeout);

} // namespace zelvane::dispatch
