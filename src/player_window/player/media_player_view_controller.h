// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>
#include <vector>

#include <QObject>
#include <QString>

#include "foundation/geometry.h"
#include "foundation/notification_center.h"
#include "foundation/state_coder.h"
#include "media_player/playback/media_player.h"
#include "player_window/player/external_subtitles_addition.h"
#include "player_window/player/player_actions.h"
#include "player_window/player/player_menu.h"
#include "player_window/views/media_player_view.h"
#include "subtitles_view/subtitles_view.h"

class QMenu;

namespace zelvane {

class ControlsView;
class FloatingControlsVisibilityController;
class MediaPlayerControlsViewController;
class PictureView;
class TracksPopover;
class UserDefaults;
class VideoPlayerView;

/// The content of a player window: makes the views for video or for sound alone, connects them with
/// the player, carries out the actions of its menus and keys, and restores the state of an earlier
/// run. Main thread.
class MediaPlayerViewController final : public QObject, private MediaPlayerViewDraggingDelegate {
    Q_OBJECT

  public:
    /// The view belongs to `window`, which must outlive this. The subtitles views are those of the
    /// player.
    MediaPlayerViewController(std::shared_ptr<MediaPlayer> mediaPlayer,
                              const SubtitlesViews& subtitlesViews, UserDefaults& defaults,
                              QWidget& window);
    ~MediaPlayerViewController() override;

    MediaPlayerView& view() const { return *view_; }
    /// Null for sound alone.
    PictureView* pictureView() const;
    bool hasVideo() const { return hasVideo_; }
    bool isResizable() const { return hasVideo_; }
    /// In points of the view.
    CGSize minimumSize() const;
    CGSize preferredSize() const;

    /// The bar in which a pointer keeps the controls; null without one.
    void setTitleBar(const QWidget* titleBar);
    void setFullScreen(bool isFullScreen);
    void viewDidAppear();
    void viewWillDisappear();

    void encodeRestorableState(StateCoder& coder) const;
    /// Before the first appearance. Never fails: what is unknown is left out.
    void restoreState(const StateCoder& coder);
    bool isRestoredFromPersistedState() const { return isRestoredFromPersistedState_; }

    /// What keys and menus do.
    PlayerActions& actions() const { return *actions_; }
    /// Shows a menu of this window at a point of the screen, and keeps the controls meanwhile.
    void showMenu(const std::vector<MenuEntry>& entries, const QPoint& globalPosition);

  signals:
    /// Another video track is selected.
    void preferredSizeDidChange();
    /// What encodeRestorableState() writes has changed. At least each second during playback.
    void restorableStateWasInvalidated();
    void controlsVisibilityDidChange(bool areVisible);
    void fullScreenRequested();
    void noticeRequested(const QString& text);
    /// A command that concerns the window or the application.
    void commandRequested(const zelvane::MenuCommand& command);
    void mediaDropped(const std::vector<zelvane::URL>& urls);

  private:
    void loadView(const SubtitlesViews& subtitlesViews, QWidget& window);
    void connectControls();
    void connectTracksPopover(QWidget& window);
    void startFloatingControls();
    void observePlayer();
    void playerDidChange(const Notification& notification);
    void runFirstAppearance();
    void hoverDidChange(std::optional<double> value, double x);
    /// A time, and the chapter that is played then.
    QString hoverText(double seconds) const;
    QMenu& makeMenu(const std::vector<MenuEntry>& entries);
    void showTracks();
    void updateTracksPopover();
    void didFailToAddExternalSubtitles(const URL& url, const MediaSourceLoadError& error);
    ExternalSubtitlesAddition::Handlers additionHandlers();
    /// While something is open over the view the controls stay.
    void beginHoldingControls();
    void endHoldingControls();

    bool isAddingExternalSubtitles() const override { return addition_->isUnderWay(); }
    void addExternalSubtitles(const URL& url) override { addition_->add(url); }
    void openDroppedMedia(const std::vector<URL>& urls) override { emit mediaDropped(urls); }

    const std::shared_ptr<MediaPlayer> mediaPlayer_;
    UserDefaults& defaults_;
    const bool hasVideo_;
    bool isRestoredFromPersistedState_ = false;
    bool isFirstAppearance_ = true;
    int holdCount_ = 0;
    // Owned by the window.
    MediaPlayerView* view_ = nullptr;
    VideoPlayerView* videoPlayerView_ = nullptr;
    ControlsView* controlsView_ = nullptr;
    TracksPopover* tracksPopover_ = nullptr;
    std::unique_ptr<MediaPlayerControlsViewController> controlsViewController_;
    std::unique_ptr<FloatingControlsVisibilityController> floatingControlsVisibilityController_;
    std::unique_ptr<PlayerActions> actions_;
    std::unique_ptr<ExternalSubtitlesAddition> addition_;
    std::vector<NotificationObserver> notificationObservers_;
    TimeObserverManager::ObserverRef periodicTimeObserver_;
};

} // namespace zelvane
