// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

namespace zelvane {

/// What a document does with the results of its load and of the start of its player, which can
/// arrive after it was cancelled. A value.
///
///   loading ──> startingPlayer ──> playing
///      ├──> failed     │
///      └──> cancelled <┘
class DocumentLifecycle {
  public:
    enum class State { loading, startingPlayer, playing, failed, cancelled };

    State state() const { return state_; }
    bool isLoadCancelled() const { return state_ == State::cancelled; }

    // Each returns whether the result is used; otherwise the caller drops it.
    bool didLoad() { return move(State::loading, State::startingPlayer); }
    bool didFailToLoad() { return move(State::loading, State::failed); }
    bool didMakePlayer() { return move(State::startingPlayer, State::playing); }
    /// Returns whether there was something to cancel: then the document closes.
    bool cancel() {
        return move(State::loading, State::cancelled) ||
               move(State::startingPlayer, State::cancelled);
    }

  private:
    bool move(State from, State to) {
        const bool isPossible = state_ == from;
        state_ = isPossible ? to : state_;
        return isPossible;
    }

    State state_ = State::loading;
};

} // namespace zelvane
