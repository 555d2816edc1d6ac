// SPDX-License-Identifier: GPL-3.0-or-later
#include "player_window/controls/floating_controls_visibility_controller.h"

#include <chrono>
#include <utility>

#include <QApplication>
#include <QCursor>
#include <QMouseEvent>
#include <QWidget>

#include "player_window/controls/fading_panel.h"

namespace zelvane {
namespace {

constexpr auto kHideDelay = std::chrono::duration_cast<std::chrono::milliseconds>(
    std::chrono::duration<double>(ControlsVisibility::kHideDelayInSeconds));

bool contains(const QWidget& widget, const QPoint& globalPosition) {
    return widget.rect().contains(widget.mapFromGlobal(globalPosition));
}

bool isKeyboardUse(const QEvent& event) {
    if (event.type() == QEvent::FocusIn) {
        const auto reason = static_cast<const QFocusEvent&>(event).reason();
        return reason == Qt::TabFocusReason || reason == Qt::BacktabFocusReason;
    }
    return event.type() == QEvent::KeyPress;
}

} // namespace

FloatingControlsVisibilityController::FloatingControlsVisibilityController(
    QWidget& playerView, FadingPanel& floatingControls,
    std::function<void(bool shows)> onVisibilityChange)
    : playerView_(playerView), floatingControls_(floatingControls),
      onVisibilityChange_(std::move(onVisibilityChange)) {
    timer_.setSingleShot(true);
    timer_.setInterval(kHideDelay);
    timer_.callOnTimeout(this, [this] { timerFired(); });
}

FloatingControlsVisibilityController::~FloatingControlsVisibilityController() {
    stop();
}

void FloatingControlsVisibilityController::start() {
    if (!std::exchange(isActive_, true)) {
        // Events of all widgets in the window: they take most movements of the pointer themselves.
        qApp->installEventFilter(this);
    }
    lastPosition_ = QCursor::pos();
    perform(visibility_.start(isPointerOnControls()));
}

void FloatingControlsVisibilityController::stop() {
    if (std::exchange(isActive_, false)) {
        qApp->removeEventFilter(this);
        perform(visibility_.stop());
    }
}

void FloatingControlsVisibilityController::controlsDidBeginUserInteraction() {
    perform(visibility_.beginInteraction());
}

void FloatingControlsVisibilityController::controlsDidEndUserInteraction() {
    perform(visibility_.endInteraction(isPointerOnControls()));
}

void FloatingControlsVisibilityController::wake() {
    perform(visibility_.pointerMoved(isPointerOnControls().value_or(false)));
}

bool FloatingControlsVisibilityController::isControl(const QWidget& widget) const {
    return floatingControls_.isAncestorOf(&widget) ||
           (titleBar_ != nullptr && titleBar_->isAncestorOf(&widget));
}

bool FloatingControlsVisibilityController::eventFilter(QObject* watched, QEvent* event) {
    const auto* widget = qobject_cast<const QWidget*>(watched);
    if (widget == nullptr || widget->window() != playerView_.window()) {
        return false;
    }
    if (event->type() == QEvent::MouseMove) {
        pointerDidMove(static_cast<const QMouseEvent*>(event)->globalPosition().toPoint());
    } else if (isControl(*widget) && isKeyboardUse(*event)) {
        wake();
    } else if (event->type() == QEvent::Leave && widget->isWindow() && isPointerInside_) {
        isPointerInside_ = false;
        perform(visibility_.pointerLeft());
    }
    return false;
}

void FloatingControlsVisibilityController::pointerDidMove(const QPoint& globalPosition) {
    // A window that is shown or resized under a resting pointer gets movements to the same place.
    if (globalPosition == lastPosition_) {
        return;
    }
    lastPosition_ = globalPosition;
    if (!contains(playerView_, globalPosition)) {
        return;
    }
    const bool isOnPanel = isOnControls(globalPosition);
    perform(std::exchange(isPointerInside_, true) ? visibility_.pointerMoved(isOnPanel)
                                                  : visibility_.pointerEntered(isOnPanel));
}

void FloatingControlsVisibilityController::timerFired() {
    perform(visibility_.timerFired(presentWindow()));
}

bool FloatingControlsVisibilityController::isOnControls(const QPoint& globalPosition) const {
    return contains(floatingControls_, globalPosition);
}

std::optional<bool> FloatingControlsVisibilityController::isPointerOnControls() const {
    const QWidget* window = playerView_.window();
    if (!window->isVisible() || window->isMinimized()) {
        return std::nullopt;
    }
    return isOnControls(lastPosition_);
}

ControlsVisibility::Window FloatingControlsVisibilityController::presentWindow() const {
    const QWidget* window = playerView_.window();
    return {.exists = window->isVisible(),
            .isMinimized = window->isMinimized(),
            .isFullScreen = window->isFullScreen(),
            .hasTitleBar = titleBar_ != nullptr,
            .isPointerInTitleBar = titleBar_ != nullptr && contains(*titleBar_, lastPosition_)};
}

void FloatingControlsVisibilityController::perform(const ControlsVisibility::Actions& actions) {
    if (actions.timer == ControlsVisibility::Timer::restart) {
        timer_.start();
    } else if (actions.timer == ControlsVisibility::Timer::cancel) {
        timer_.stop();
    }
    if (actions.shows) {
        floatingControls_.setShown(*actions.shows);
        onVisibilityChange_(*actions.shows);
        applyPointer();
    }
}

void FloatingControlsVisibilityController::applyPointer() const {
    if (visibility_.hidesPointer()) {
        playerView_.setCursor(Qt::BlankCursor);
    } else {
        playerView_.unsetCursor();
    }
}

} // namespace zelvane
