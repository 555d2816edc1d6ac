// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>
#include <mutex>
#include <utility>

namespace zelvane {

/// A value with a recursive lock. Any thread. Several objects may share a lock so that their values
/// change together. Handlers of a change run with the lock held and may use the same object.
template <class Value>
class Atomic {
  public:
    using Lock = std::shared_ptr<std::recursive_mutex>;

    Atomic() : Atomic(Value{}) {}
    explicit Atomic(Value value, Lock lock = std::make_shared<std::recursive_mutex>())
        : value_(std::move(value)), lock_(std::move(lock)) {}
    Atomic(const Atomic&) = delete;
    Atomic& operator=(const Atomic&) = delete;

    Value load() const {
        const std::lock_guard guard(*lock_);
        return value_;
    }

    void store(Value value) {
        const std::lock_guard guard(*lock_);
        value_ = std::move(value);
    }

    Value exchange(Value value) {
        const std::lock_guard guard(*lock_);
        return std::exchange(value_, std::move(value));
    }

    /// Stores `value` unless it equals the present one; willChange(old) runs before and
    /// didChange(new) after the store, under the lock. Returns whether the value changed.
    template <class WillChange, class DidChange>
    bool compareAndChange(Value value, WillChange&& willChange, DidChange&& didChange) {
        const std::lock_guard guard(*lock_);
        if (value_ == value) {
            return false;
        }
        std::forward<WillChange>(willChange)(std::as_const(value_));
        value_ = std::move(value);
        std::forward<DidChange>(didChange)(std::as_const(value_));
        return true;
    }

    /// Runs `body(Value&)` under the lock and returns its result.
    template <class Body>
    decltype(auto) withLock(Body&& body) {
        const std::lock_guard guard(*lock_);
        return std::forward<Body>(body)(value_);
    }

    Lock lock() const { return lock_; }

    /// Uses the lock of another object. Only before the object is shared with other threads.
    void shareLock(Lock lock) { lock_ = std::move(lock); }

  private:
    Value value_;
    Lock lock_;
};

} // namespace zelvane
