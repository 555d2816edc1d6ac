// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <chrono>
#include <memory>
#include <semaphore>
#include <stop_token>
#include <thread>

namespace zelvane {

/// Measures for how long the event loop of the main thread does not answer, from its construction
/// until its destruction, which logs the result. Main thread.
class EventLoopLatency {
  public:
    /// Null unless the environment variable ZELVANE_LOG_LATENCY is set.
    static std::unique_ptr<EventLoopLatency> createIfRequested();

    EventLoopLatency();
    ~EventLoopLatency();
    EventLoopLatency(const EventLoopLatency&) = delete;
    EventLoopLatency& operator=(const EventLoopLatency&) = delete;

  private:
    using Clock = std::chrono::steady_clock;

    void measure(const std::stop_token& stop);
    void record(Clock::duration latency);

    // The thread's until it has ended.
    Clock::duration longest_{};
    int longCount_ = 0;
    /// An answer can come after this was destroyed.
    const std::shared_ptr<std::binary_semaphore> answer_ =
        std::make_shared<std::binary_semaphore>(0);
    std::jthread thread_;
};

} // namespace zelvane
