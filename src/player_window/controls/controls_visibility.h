// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>

namespace zelvane {

/// Decides when the controls over a film are visible. Each event returns what the caller has to do;
/// the caller owns the timer, the fades and the pointer. Main thread.
///
///      hidden ── pointer moves or enters ──> shown, timer runs ──┐ pointer moves: timer restarts
///        ^                                     |   ^   ^        └──────────┘
///        |  timer fires and nothing holds,     |   |   | interaction ends
///        |  or pointer leaves                  v   |   |
///        +──────────────────── shown, pointer rests   shown, held by interaction
///                              on the controls
class ControlsVisibility {
  public:
    static constexpr double kHideDelayInSeconds = 2.0;

    enum class Timer { keep, restart, cancel };
    struct Actions {
        /// The controls and the title bar fade in or out; none leaves them as they are.
        std::optional<bool> shows = std::nullopt;
        Timer timer = Timer::keep;
        friend bool operator==(const Actions&, const Actions&) = default;
    };
    /// The window at the moment when the timer fires.
    struct Window {
        bool exists = true;
        bool isOnActiveWorkspace = true;
        bool isMinimized = false;
        bool isFullScreen = false;
        bool hasTitleBar = true;
        bool isPointerInTitleBar = false;
    };

    /// The controls are visible when the window appears. `isPointerOnControls` is none where the
    /// window is hidden, minimised or on another workspace: the timer then waits for the pointer.
    Actions start(std::optional<bool> isPointerOnControls);
    Actions stop();
    Actions pointerEntered(bool isOnControls);
    Actions pointerMoved(bool isOnControls);
    Actions pointerLeft();
    /// The person drags the scrubber, or has opened a popover of the controls.
    Actions beginInteraction();
    Actions endInteraction(std::optional<bool> isPointerOnControls);
    Actions timerFired(const Window& window);

    bool areControlsVisible() const { return isVisible_; }
    bool isUserInteracting() const { return isUserInteracting_; }
    /// The pointer hides with the controls.
    bool hidesPointer() const { return hidesPointer_; }

  private:
    Actions show(Timer timer);
    Actions hide();
    Timer checkTimer(bool isPointerOnControls);

    bool isVisible_ = true;
    bool hidesPointer_ = false;
    bool isUserInteracting_ = false;
    bool isTimerRunning_ = false;
};

} // namespace zelvane
