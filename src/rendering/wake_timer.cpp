// SPDX-License-Identifier: GPL-3.0-or-later
#include "rendering/wake_timer.h"

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>

#include <pthread.h>

namespace zelvane {
namespace {

class ThreadWakeTimer final : public WakeTimer {
  public:
    ~ThreadWakeTimer() override {
        {
            const std::lock_guard lock(mutex_);
            stopped_ = true;
        }
        changed_.notify_one();
        if (thread_.joinable()) {
            thread_.join();
        }
    }

    void setHandler(std::function<void()> handler) override { handler_ = std::move(handler); }

    void wakeAt(HostTime when) override {
        const std::lock_guard lock(mutex_);
        alarm_ = when;
        if (!thread_.joinable()) {
            thread_ = std::thread([this] { run(); });
        }
        changed_.notify_one();
    }

  private:
    void run() {
        pthread_setname_np(pthread_self(), "clock");
        std::unique_lock lock(mutex_);
        while (!stopped_) {
            if (alarm_ == HostTime::max()) {
                changed_.wait(lock);
            } else if (HostClock::system()->now() < alarm_) {
                changed_.wait_until(lock, std::chrono::steady_clock::time_point(alarm_));
            } else {
                alarm_ = HostTime::max();
                lock.unlock();
                handler_();
                lock.lock();
            }
        }
    }

    std::mutex mutex_;
    std::condition_variable changed_;
    std::function<void()> handler_;
    HostTime alarm_ = HostTime::max();
    bool stopped_ = false;
    std::thread thread_;
};

} // namespace

std::unique_ptr<WakeTimer> WakeTimer::makeThread() {
    return std::make_unique<ThreadWakeTimer>();
}

} // namespace zelvane
