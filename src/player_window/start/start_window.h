// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <memory>
#include <vector>

#include <QObject>
#include <QPointer>

#include "foundation/url.h"
#include "player_window/player/player_menu.h"

class QDialog;
class QKeyEvent;

namespace zelvane {

class MediaPlayerWindow;
class StartView;
class WindowMenuBar;

/// The window that is shown while nothing is open. Main thread.
class StartWindow final : public QObject {
    Q_OBJECT

  public:
    /// `menuState` is called each time that the menu opens.
    explicit StartWindow(std::function<ApplicationMenuState()> menuState);
    ~StartWindow() override;

    MediaPlayerWindow& window() const { return *window_; }
    void setRecentFiles(const std::vector<URL>& files);
    void show();

  signals:
    /// A command of the menu or a key that concerns the application.
    void commandRequested(const zelvane::MenuCommand& command);
    void filesChosen(const std::vector<zelvane::URL>& files);
    void removeRequested(const zelvane::URL& file);
    /// Once, by the user.
    void closed();

  private:
    void connectWindow();
    void pressKey(QKeyEvent* event);
    void perform(const MenuCommand& command);
    /// Returns whether the action concerns this window.
    bool performInWindow(PlayerAction action);
    void showMenu(const QPoint& globalPosition);
    void showShortcuts();

    const std::function<ApplicationMenuState()> menuState_;
    const std::unique_ptr<MediaPlayerWindow> window_;
    /// Owned by the window.
    StartView* const view_;
    std::unique_ptr<WindowMenuBar> menuBar_;
    QPointer<QDialog> shortcutsWindow_;
};

} // namespace zelvane
