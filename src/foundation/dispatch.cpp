// SPDX-License-Identifier: GPL-3.0-or-later
#include "foundation/dispatch.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <deque>
#include <thread>
#include <vector>

#include <pthread.h>
#include <sys/resource.h>
#include <unistd.h>

#include "foundation/log.h"

namespace zelvane::dispatch {
namespace {

/// The queues whose tasks this thread is running; the innermost is last.
thread_local std::vector<const void*> currentQueues;

class CurrentScope {
  public:
    explicit CurrentScope(const void* queue) { currentQueues.push_back(queue); }
    ~CurrentScope() { currentQueues.pop_back(); }
    CurrentScope(const CurrentScope&) = delete;
    CurrentScope& operator=(const CurrentScope&) = delete;
};

bool isCurrentQueue(const void* queue) {
    return std::find(currentQueues.begin(), currentQueues.end(), queue) != currentQueues.end();
}

void refuseSyncOnOwnQueue(const void* queue, const std::string& label) {
    if (isCurrentQueue(queue)) {
        fatalError(fmt::format("sync called on queue \"{}\" by one of its own tasks.", label));
    }
}

/// The number of tasks that are waiting or running on threads of queues, in the whole process.
class PendingTaskCount {
  public:
    static PendingTaskCount& shared() {
        static PendingTaskCount& count = *std::make_unique<PendingTaskCount>().release();
        return count;
    }
    void add() {
        const std::lock_guard lock(mutex_);
        ++count_;
    }
    void remove() {
        const std::lock_guard lock(mutex_);
        if (--count_ == 0) {
            zero_.notify_all();
        }
    }
    bool waitForZero(std::chrono::milliseconds timeout) {
        std::unique_lock lock(mutex_);
        return zero_.wait_for(lock, timeout, [this] { return count_ == 0; });
    }

  private:
    std::mutex mutex_;
    std::condition_variable zero_;
    int count_ = 0;
};

void setUpThisThread(const std::string& label, QualityOfService qos) {
    constexpr std::size_t kMaxThreadName = 15;
    pthread_setname_np(pthread_self(), label.substr(0, kMaxThreadName).c_str());
    if (qos == QualityOfService::utility) {
        constexpr int kUtilityNiceness = 5;
        const auto thread = static_cast<id_t>(gettid());
        setpriority(PRIO_PROCESS, thread, getpriority(PRIO_PROCESS, thread) + kUtilityNiceness);
    }
}

/// Lets a thread wait for its turn.
class Turn {
  public:
    void give() {
        // Notify under the lock: the waiter may destroy this object as soon as it can lock.
        const std::lock_guard lock(mutex_);
        given_ = true;
        condition_.notify_one();
    }
    void await() {
        std::unique_lock lock(mutex_);
        condition_.wait(lock, [this] { return given_; });
    }

  private:
    std::mutex mutex_;
    std::condition_variable condition_;
    bool given_ = false;
};

} // namespace

/// One owner at a time runs a task: the queue's thread or a thread inside sync. The owner that ends
/// a task passes ownership to the first in line: to the queue's thread for an asynchronous task, to
/// the waiting thread for a synchronous one.
class SerialQueue::State : public std::enable_shared_from_this<SerialQueue::State> {
  public:
    State(std::string label, QualityOfService qos) : label_(std::move(label)), qos_(qos) {}

    void async(Task task) {
        const std::lock_guard lock(mutex_);
        if (!threadStarted_) {
            // Before the task is stored: if this throws, the task is not taken.
            std::thread([self = shared_from_this()] { self->run(); }).detach();
            threadStarted_ = true;
        }
        PendingTaskCount::shared().add();
        line_.push_back({std::move(task), nullptr});
        if (!owned_) {
            owned_ = true;
            handToThread();
        }
    }

    void sync(const Task& task) {
        refuseSyncOnOwnQueue(this, label_);
        Turn turn;
        bool mustWait = false;
        {
            const std::lock_guard lock(mutex_);
            mustWait = owned_;
            if (mustWait) {
                line_.push_back({{}, &turn});
            }
            owned_ = true;
        }
        if (mustWait) {
            turn.await();
        }
        {
            const CurrentScope scope(this);
            task();
        }
        const std::lock_guard lock(mutex_);
        passOn();
    }

    void close() {
        const std::lock_guard lock(mutex_);
        closed_ = true;
        wake_.notify_one();
    }

  private:
    struct Place {
        Task task;
        Turn* turn;
    };

    void handToThread() {
        threadsTurn_ = true;
        wake_.notify_one();
    }

    /// Under the lock, by the owner that has ended its task.
    void passOn() {
        threadsTurn_ = false;
        if (line_.empty()) {
            owned_ = false;
            if (closed_) {
                // The thread waits until the last owner has released the queue.
                wake_.notify_one();
            }
        } else if (Turn* turn = line_.front().turn) {
            line_.pop_front();
            turn->give();
        } else {
            handToThread();
        }
    }

    void run() {
        setUpThisThread(label_, qos_);
        std::unique_lock lock(mutex_);
        while (true) {
            wake_.wait(lock, [this] { return threadsTurn_ || (closed_ && !owned_); });
            if (!threadsTurn_) {
                return;
            }
            {
                // Destroyed before the scope: destructors of captured objects run as part of the
                // queue.
                const CurrentScope scope(this);
                const Task task = std::move(line_.front().task);
                line_.pop_front();
                lock.unlock();
                task();
            }
            PendingTaskCount::shared().remove();
            lock.lock();
            passOn();
        }
    }

    const std::string label_;
    const QualityOfService qos_;
    std::mutex mutex_;
    std::condition_variable wake_;
    std::deque<Place> line_;
    bool owned_ = false;
    bool threadsTurn_ = false;
    bool threadStarted_ = false;
    bool closed_ = false;
};

SerialQueue::SerialQueue(std::string label, QualityOfService qos)
    : state_(std::make_shared<State>(std::move(label), qos)) {}
SerialQueue::~SerialQueue() {
    state_->close();
}
void SerialQueue::async(Task task) {
    state_->async(std::move(task));
}
void SerialQueue::syncTask(const Task& task) {
    const auto state = state_;
    state->sync(task);
}
bool SerialQueue::isCurrent() const {
    return isCurrentQueue(state_.get());
}

std::shared_ptr<SerialQueue> makeSerialQueue(std::string label, QualityOfService qos) {
    return std::make_shared<SerialQueue>(std::move(label), qos);
}

namespace {

/// Starts a thread for a task when none is idle. An idle thread ends after kIdleLife.
class GlobalQueue final : public Queue {
  public:
    GlobalQueue(std::string label, QualityOfService qos) : label_(std::move(label)), qos_(qos) {}

    void async(Task task) override {
        const std::lock_guard lock(mutex_);
        if (idle_ <= tasks_.size()) {
            // Before the task is stored: if this throws, the task is not taken.
            std::thread([this] { run(); }).detach();
        }
        PendingTaskCount::shared().add();
        tasks_.push_back(std::move(task));
        wake_.notify_one();
    }

    void syncTask(const Task& task) override {
        const CurrentScope scope(this);
        task();
    }

    bool isCurrent() const override { return isCurrentQueue(this); }

  private:
    void run() {
        constexpr std::chrono::seconds kIdleLife{5};
        setUpThisThread(label_, qos_);
        std::unique_lock lock(mutex_);
        while (true) {
            ++idle_;
            const bool woken = wake_.wait_for(lock, kIdleLife, [this] { return !tasks_.empty(); });
            --idle_;
            if (!woken) {
                return;
            }
            {
                const CurrentScope scope(this);
                const Task task = std::move(tasks_.front());
                tasks_.pop_front();
                lock.unlock();
                task();
            }
            PendingTaskCount::shared().remove();
            lock.lock();
        }
    }

    const std::string label_;
    const QualityOfService qos_;
    std::mutex mutex_;
    std::condition_variable wake_;
    std::deque<Task> tasks_;
    std::size_t idle_ = 0;
};

std::shared_ptr<Queue> makeGlobalQueue(std::string label, QualityOfService qos) {
    // Never destroyed: its threads are detached and may run after main() returns.
    auto* queue = std::make_unique<GlobalQueue>(std::move(label), qos).release();
    return {queue, [](Queue*) {}};
}

} // namespace

const std::shared_ptr<Queue>& globalQueue(QualityOfService qos) {
    using enum QualityOfService;
    static const std::array queues{makeGlobalQueue("global", unspecified),
                                   makeGlobalQueue("global-interactive", userInteractive),
                                   makeGlobalQueue("global-initiated", userInitiated),
                                   makeGlobalQueue("global-utility", utility)};
    return queues.at(static_cast<std::size_t>(qos));
}

namespace {

struct MainQueueSlot {
    std::mutex mutex;
    std::shared_ptr<Queue> queue;
};

MainQueueSlot& mainQueueSlot() {
    static MainQueueSlot& slot = *std::make_unique<MainQueueSlot>().release();
    return slot;
}

} // namespace

std::shared_ptr<Queue> mainQueue() {
    const std::lock_guard lock(mainQueueSlot().mutex);
    if (!mainQueueSlot().queue) {
        fatalError("No main queue has been set.");
    }
    return mainQueueSlot().queue;
}

void setMainQueue(std::shared_ptr<Queue> queue) {
    const std::lock_guard lock(mainQueueSlot().mutex);
    mainQueueSlot().queue = std::move(queue);
}

struct RunLoopQueue::State {
    std::mutex mutex;
    std::condition_variable wake;
    std::deque<Task> tasks;
};

RunLoopQueue::RunLoopQueue(std::string label)
    : label_(std::move(label)), state_(std::make_unique<State>()) {}
RunLoopQueue::~RunLoopQueue() = default;

void RunLoopQueue::async(Task task) {
    const std::lock_guard lock(state_->mutex);
    state_->tasks.push_back(std::move(task));
    state_->wake.notify_one();
}

void RunLoopQueue::syncTask(const Task& task) {
    refuseSyncOnOwnQueue(this, label_);
    Turn turn;
    async([&] {
        task();
        turn.give();
    });
    turn.await();
}

bool RunLoopQueue::isCurrent() const {
    return isCurrentQueue(this);
}

bool RunLoopQueue::runOne() {
    const CurrentScope scope(this);
    Task task;
    {
        const std::lock_guard lock(state_->mutex);
        if (state_->tasks.empty()) {
            return false;
        }
        task = std::move(state_->tasks.front());
        state_->tasks.pop_front();
    }
    task();
    return true;
}

void RunLoopQueue::runPending() {
    while (runOne()) {
    }
}

bool RunLoopQueue::runUntil(const std::function<bool()>& done, std::chrono::milliseconds timeout) {
    const auto deadline = std::chrono::steady_clock::now() + timeout;
    while (!done()) {
        if (runOne()) {
            continue;
        }
        std::unique_lock lock(state_->mutex);
        const auto somethingWaits = [this] { return !state_->tasks.empty(); };
        if (!state_->wake.wait_until(lock, deadline, somethingWaits)) {
            lock.unlock();
            return done();
        }
    }
    return true;
}

struct Group::State {
    struct Notification {
        std::shared_ptr<Queue> queue;
        Task task;
    };
    std::mutex mutex;
    std::condition_variable empty;
    int count = 0;
    std::vector<Notification> notifications;
};

Group::Group() : state_(std::make_shared<State>()) {}

void Group::enter() const {
    const std::lock_guard lock(state_->mutex);
    ++state_->count;
}

void Group::leave() const {
    std::vector<State::Notification> due;
    {
        const std::lock_guard lock(state_->mutex);
        if (state_->count == 0) {
            fatalError("Unbalanced leave of a dispatch group.");
        }
        if (--state_->count > 0) {
            return;
        }
        due.swap(state_->notifications);
        state_->empty.notify_all();
    }
    for (auto& notification : due) {
        notification.queue->async(std::move(notification.task));
    }
}

void Group::notify(const std::shared_ptr<Queue>& queue, Task task) const {
    {
        const std::lock_guard lock(state_->mutex);
        if (state_->count > 0) {
            state_->notifications.push_back({queue, std::move(task)});
            return;
        }
    }
    queue->async(std::move(task));
}

void Group::wait() const {
    std::unique_lock lock(state_->mutex);
    state_->empty.wait(lock, [this] { return state_->count == 0; });
}

bool waitForQuiescence(std::chrono::milliseconds timeout) {
    return PendingTaskCount::shared().waitForZero(timeout);
}

} // namespace zelvane::dispatch
