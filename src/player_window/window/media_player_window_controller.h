// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include <QObject>
#include <QPointer>

#include "foundation/geometry.h"
#include "foundation/state_coder.h"
#include "foundation/url.h"
#include "media_player/playback/media_player.h"
#include "player_window/player/player_menu.h"
#include "player_window/window/player_action.h"
#include "player_window/window/window_placement.h"
#include "subtitles_view/subtitles_view.h"

class QDialog;
class QKeyEvent;
class QWheelEvent;

namespace zelvane {

class MediaPlayerViewController;
class MediaPlayerWindow;
class PictureView;
class UserDefaults;
class WindowMenuBar;

/// One player's window: its size, its title bar, full screen, its menu and its keys. Main thread.
class MediaPlayerWindowController final : public QObject {
    Q_OBJECT

  public:
    struct Callbacks {
        /// The window was closed; it still exists. Called once.
        std::function<void()> onClose = {};
        /// The user wants to choose a file to open.
        std::function<void()> onOpen = {};
        /// Media files were dropped, which open in windows of their own.
        std::function<void(const std::vector<URL>&)> onOpenMedia = {};
        /// Carries out a command of a menu or a key that no window knows.
        std::function<void(const MenuCommand&)> perform = {};
        /// What menus show beside the player.
        std::function<ApplicationMenuState()> menuState = [] { return ApplicationMenuState(); };
        /// restoreState() would bring back something else than it would have before.
        std::function<void()> onInvalidateRestorableState = {};
    };

    MediaPlayerWindowController(std::shared_ptr<MediaPlayer> mediaPlayer,
                                const SubtitlesViews& subtitlesViews, UserDefaults& defaults,
                                Callbacks callbacks);
    ~MediaPlayerWindowController() override;

    MediaPlayerWindow& window() const { return *window_; }
    MediaPlayerViewController& viewController() const { return *viewController_; }
    /// Null for sound alone.
    PictureView* pictureView() const;
    /// Shows the window at its restored place, or in the middle of the screen, and starts to watch
    /// the pointer. Unless its state was restored, the window becomes full screen where the
    /// settings say so, once the windows of the last run are there.
    void show();
    void showNotice(const QString& text);

    void encodeRestorableState(StateCoder& coder) const;
    /// Before show().
    void restoreState(const StateCoder& coder);

  private:
    void connectContent();
    void connectWindow();
    void adaptToPreferredSize();
    void updateSizes();
    void enterFullScreenAutomatically();
    void invalidateRestorableState();

    void pressKey(QKeyEvent* event);
    void turnWheel(QWheelEvent* event);
    /// Those commands that do not concern the player alone.
    void perform(const MenuCommand& command);
    /// Returns whether the action concerns this window.
    bool performInWindow(PlayerAction action);
    PlayerMenuState menuState() const;
    void showMenu(const QPoint& globalPosition);
    void makeMenuBar();
    void showShortcuts();

    const std::shared_ptr<MediaPlayer> mediaPlayer_;
    UserDefaults& defaults_;
    Callbacks callbacks_;
    std::unique_ptr<MediaPlayerWindow> window_;
    std::unique_ptr<MediaPlayerViewController> viewController_;
    std::unique_ptr<WindowMenuBar> menuBar_;
    QPointer<QDialog> shortcutsWindow_;
    std::optional<WindowPlacement> restoredPlacement_;
    CGSize preferredSize_;
    bool isFirstAppearance_ = true;
};

} // namespace zelvane
