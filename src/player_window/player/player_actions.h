// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <memory>

#include <QCoreApplication>
#include <QString>

#include "media_player/playback/media_player.h"
#include "player_window/player/playback_loop.h"
#include "player_window/player/player_menu.h"
#include "player_window/window/player_action.h"

namespace zelvane {

class ExternalSubtitlesAddition;
class MediaPlayerControlsViewController;
class PictureView;

/// Carries out the actions of keys and menus on one player, and reports what an action changed
/// where the controls do not show it. Main thread.
class PlayerActions final {
    Q_DECLARE_TR_FUNCTIONS(PlayerActions)

  public:
    struct Handlers {
        std::function<void(const QString&)> showNotice;
        /// Carries out a command that concerns the window or the application.
        std::function<void(const MenuCommand&)> performOther;
    };

    /// `pictureView` is null for sound alone. The objects given by reference must outlive this.
    PlayerActions(std::shared_ptr<MediaPlayer> mediaPlayer,
                  MediaPlayerControlsViewController& controls, ExternalSubtitlesAddition& addition,
                  PictureView* pictureView, Handlers handlers);
    ~PlayerActions();
    PlayerActions(const PlayerActions&) = delete;
    PlayerActions& operator=(const PlayerActions&) = delete;

    void perform(PlayerAction action);
    /// A track's item deselects it where it is checked.
    void perform(const MenuCommand& command);
    /// By a share of the whole range.
    void changeVolume(double difference);
    /// Selects the first of the tracks that were just added, if a position is free.
    void selectAdded(const ExternalSubtitlesTracks& tracks);
    /// What the menu shows; the state of the window is left out.
    PlayerMenuState menuState() const;

  private:
    bool performTransport(PlayerAction action);
    bool performChapter(PlayerAction action);
    bool performSound(PlayerAction action);
    bool performRate(PlayerAction action);
    bool performTracks(PlayerAction action);
    bool performPicture(PlayerAction action);
    void goToChapter(std::optional<std::size_t> index);
    float rate() const;
    void setRate(float rate);
    void cycleSubtitles(SubtitlesPosition position);
    void cycleAudio();
    void showVolume() const;
    void takeScreenshot();

    const std::shared_ptr<MediaPlayer> mediaPlayer_;
    MediaPlayerControlsViewController& controls_;
    ExternalSubtitlesAddition& addition_;
    PictureView* const pictureView_;
    /// Shared, so that work in the background can ask whether there still is a window.
    const std::shared_ptr<const Handlers> handlers_;
    PlaybackLoop loop_;
};

} // namespace zelvane
