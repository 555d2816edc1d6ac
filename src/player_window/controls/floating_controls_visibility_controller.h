// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <optional>

#include <QObject>
#include <QPoint>
#include <QTimer>

#include "player_window/controls/controls_visibility.h"

class QWidget;

namespace zelvane {

class FadingPanel;

/// Shows the controls over a film when the pointer moves over it, hides them and the pointer after
/// a pause, and keeps them while a person uses them: carries out what ControlsVisibility decides.
/// Main thread; must not outlive its widgets.
class FloatingControlsVisibilityController final : public QObject {
    Q_OBJECT

  public:
    /// `onVisibilityChange` fades the title bar with the controls; the flag is whether to show it.
    FloatingControlsVisibilityController(QWidget& playerView, FadingPanel& floatingControls,
                                         std::function<void(bool shows)> onVisibilityChange);
    ~FloatingControlsVisibilityController() override;

    /// The title bar, in which a pointer keeps the controls; null without one.
    void setTitleBar(const QWidget* titleBar) { titleBar_ = titleBar; }
    void start();
    void stop();
    void controlsDidBeginUserInteraction();
    void controlsDidEndUserInteraction();

  protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

  private:
    void perform(const ControlsVisibility::Actions& actions);
    void pointerDidMove(const QPoint& globalPosition);
    /// A key for the controls shows them, like a movement of the pointer.
    void wake();
    void timerFired();
    bool isControl(const QWidget& widget) const;
    bool isOnControls(const QPoint& globalPosition) const;
    /// None while the window is not seen.
    std::optional<bool> isPointerOnControls() const;
    ControlsVisibility::Window presentWindow() const;
    void applyPointer() const;

    QWidget& playerView_;
    FadingPanel& floatingControls_;
    const QWidget* titleBar_ = nullptr;
    std::function<void(bool)> onVisibilityChange_;
    ControlsVisibility visibility_;
    QTimer timer_;
    QPoint lastPosition_;
    bool isActive_ = false;
    bool isPointerInside_ = false;
};

} // namespace zelvane
