// SPDX-License-Identifier: GPL-3.0-or-later
#include "application/event_loop_latency.h"

#include <algorithm>
#include <cstdlib>

#include "foundation/dispatch.h"
#include "foundation/log.h"

namespace zelvane {
namespace {

constexpr std::chrono::milliseconds kPause{2};
/// What a user notices.
constexpr std::chrono::milliseconds kLong{50};

} // namespace

std::unique_ptr<EventLoopLatency> EventLoopLatency::createIfRequested() {
    // NOLINTNEXTLINE(concurrency-mt-unsafe)
    return std::getenv("ZELVANE_LOG_LATENCY") == nullptr ? nullptr
                                                         : std::make_unique<EventLoopLatency>();
}

EventLoopLatency::EventLoopLatency()
    : thread_([this](const std::stop_token& stop) { measure(stop); }) {}

EventLoopLatency::~EventLoopLatency() {
    thread_.request_stop();
    thread_.join();
    const auto milliseconds = std::chrono::round<std::chrono::milliseconds>(longest_);
    logMessage("Event loop: without an answer for at most {} ms, {} times over {} ms",
               milliseconds.count(), longCount_, kLong.count());
}

void EventLoopLatency::measure(const std::stop_token& stop) {
    while (!stop.stop_requested()) {
        const auto asked = Clock::now();
        dispatch::mainQueue()->async([answer = answer_] { answer->release(); });
        while (!answer_->try_acquire_for(kLong)) {
            if (stop.stop_requested()) {
                return;
            }
        }
        record(Clock::now() - asked);
        std::this_thread::sleep_for(kPause);
    }
}

void EventLoopLatency::record(Clock::duration latency) {
    longest_ = std::max(longest_, latency);
    longCount_ += latency > kLong ? 1 : 0;
}

} // namespace zelvane
