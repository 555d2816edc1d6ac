// SPDX-License-Identifier: GPL-3.0-or-later
#include "player_window/controls/controls_visibility.h"

namespace zelvane {
namespace {

/// A pointer in the title bar is about to use it, which a full-screen window does not have.
bool mayHide(const ControlsVisibility::Window& window) {
    const bool isSeen = window.exists && window.isOnActiveWorkspace && !window.isMinimized;
    const bool hasUsableTitleBar = window.hasTitleBar && !window.isFullScreen;
    return !isSeen || !hasUsableTitleBar || !window.isPointerInTitleBar;
}

} // namespace

ControlsVisibility::Actions ControlsVisibility::start(std::optional<bool> isPointerOnControls) {
    return {.timer = isPointerOnControls ? checkTimer(*isPointerOnControls) : Timer::keep};
}

ControlsVisibility::Actions ControlsVisibility::stop() {
    isTimerRunning_ = false;
    return {.timer = Timer::cancel};
}

ControlsVisibility::Actions ControlsVisibility::pointerEntered(bool isOnControls) {
    return isUserInteracting_ ? Actions{} : show(checkTimer(isOnControls));
}

ControlsVisibility::Actions ControlsVisibility::pointerMoved(bool isOnControls) {
    if (isUserInteracting_) {
        return {};
    }
    // Controls that are visible already are not faded in again at each movement.
    const bool wasCounting = isTimerRunning_;
    const Timer timer = checkTimer(isOnControls);
    return wasCounting ? Actions{.timer = timer} : show(timer);
}

ControlsVisibility::Actions ControlsVisibility::pointerLeft() {
    return isUserInteracting_ ? Actions{} : hide();
}

ControlsVisibility::Actions ControlsVisibility::beginInteraction() {
    isUserInteracting_ = true;
    isTimerRunning_ = false;
    return show(Timer::cancel);
}

ControlsVisibility::Actions
ControlsVisibility::endInteraction(std::optional<bool> isPointerOnControls) {
    isUserInteracting_ = false;
    return {.timer = isPointerOnControls ? checkTimer(*isPointerOnControls) : Timer::keep};
}

ControlsVisibility::Actions ControlsVisibility::timerFired(const Window& window) {
    isTimerRunning_ = false;
    return mayHide(window) ? hide() : Actions{.timer = Timer::cancel};
}

ControlsVisibility::Actions ControlsVisibility::show(Timer timer) {
    isVisible_ = true;
    hidesPointer_ = false;
    return {.shows = true, .timer = timer};
}

ControlsVisibility::Actions ControlsVisibility::hide() {
    isVisible_ = false;
    hidesPointer_ = true;
    isTimerRunning_ = false;
    return {.shows = false, .timer = Timer::cancel};
}

ControlsVisibility::Timer ControlsVisibility::checkTimer(bool isPointerOnControls) {
    isTimerRunning_ = !isPointerOnControls;
    return isTimerRunning_ ? Timer::restart : Timer::cancel;
}

} // namespace zelvane
