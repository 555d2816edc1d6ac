// SPDX-License-Identifier: GPL-3.0-or-later
#include "application/session_store.h"

#include <chrono>
#include <utility>

namespace zelvane {
namespace {

constexpr HostDuration kWriteInterval = std::chrono::seconds(1);

/// What need not be written again; empty for a file that must be replaced.
std::string contentOf(const StoredSession& stored) {
    if (stored.condition != StoredSession::Condition::whole) {
        return {};
    }
    SessionState state;
    SessionState::Window window = 0;
    for (const auto& entry : stored.windows) {
        state.set(++window, entry);
    }
    return state.data();
}

} // namespace

SessionStore::SessionStore(QString path, std::shared_ptr<HostClock> clock)
    : clock_(std::move(clock)),
      queue_(dispatch::makeSerialQueue("Session Store Queue",
                                       dispatch::QualityOfService::userInitiated)),
      file_(std::move(path)), stored_(file_.read()), written_(contentOf(stored_)),
      schedule_(kWriteInterval) {
    timer_.setSingleShot(true);
    timer_.setTimerType(Qt::PreciseTimer);
    connect(&timer_, &QTimer::timeout, this, &SessionStore::writeChanges);
}

SessionStore::~SessionStore() {
    finish();
}

void SessionStore::add(Window window, Encode encode) {
    state_.set(window, std::nullopt);
    encoders_.insert_or_assign(window, std::move(encode));
}

void SessionStore::invalidate(Window window) {
    invalidated_.insert(window);
    didChange();
}

void SessionStore::moveToFront(Window window) {
    state_.moveToFront(window);
    didChange();
}

void SessionStore::remove(Window window) {
    if (isFinished_) {
        return;
    }
    state_.remove(window);
    encoders_.erase(window);
    didChange();
}

void SessionStore::didChange() {
    if (isFinished_ || !file_.isWritable()) {
        return;
    }
    if (const auto delay = schedule_.didChange(clock_->now())) {
        timer_.start(std::chrono::ceil<std::chrono::milliseconds>(*delay));
    }
}

void SessionStore::writeChanges() {
    schedule_.willWrite(clock_->now());
    for (const Window window : std::exchange(invalidated_, {})) {
        if (const auto encode = encoders_.find(window); encode != encoders_.end()) {
            state_.set(window, encode->second());
        }
    }
    std::string data = state_.data();
    if (data != written_) {
        written_ = data;
        queue_->async([this, data = std::move(data)] { file_.write(data); });
    }
}

void SessionStore::finish() {
    if (std::exchange(isFinished_, true)) {
        return;
    }
    writeNow();
}

void SessionStore::writeNow() {
    // Without a change, windows that were not yet restored stay in the file.
    if (timer_.isActive()) {
        timer_.stop();
        writeChanges();
    }
    queue_->sync([] {});
}

} // namespace zelvane
