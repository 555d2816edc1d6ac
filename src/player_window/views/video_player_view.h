// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>
#include <optional>

#include <QString>

#include "player_window/views/media_player_view.h"

namespace zelvane {

class ControlsView;
class ExternalPlaybackIndicatorView;
class FloatingControls;
class HoverBubble;
class PictureView;
class SubtitlesView;
class VideoPresenter;

/// The content of a window for video: the picture with both subtitles on black, and the controls
/// that float over it. Main thread.
class VideoPlayerView final : public MediaPlayerView {
  public:
    /// Takes `controlsView`. The subtitles views are those of the player.
    VideoPlayerView(ControlsView* controlsView,
                    const std::shared_ptr<SubtitlesView>& primarySubtitlesView,
                    const std::shared_ptr<SubtitlesView>& secondarySubtitlesView, QWidget* parent);

    ~VideoPlayerView() override;
    VideoPlayerView(const VideoPlayerView&) = delete;
    VideoPlayerView& operator=(const VideoPlayerView&) = delete;

    std::shared_ptr<VideoPresenter> presenter() const;
    FloatingControls& floatingControlsView() const { return *floatingControlsView_; }
    /// The group that Picture in Picture takes away: the picture and both subtitles.
    PictureView& videoViewForPictureInPicture() const { return *pictureView_; }
    /// Shows an indicator behind the group that Picture in Picture is about to take.
    void pictureInPictureWillStart();
    /// Takes the group back and removes the indicator.
    void pictureInPictureDidStop();
    /// While the controls are visible, subtitles are between the title bar and the panel. The
    /// caller fades the controls themselves.
    void controlsVisibilityDidChange(bool areVisible);
    /// Shows a text above the scrubber at `x`, in points of the scrubber; none hides it.
    void showHoverText(const std::optional<QString>& text, double x);

  protected:
    void resizeEvent(QResizeEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

  private:
    bool hasPicture() const;
    void moveSubtitles(int duration);

    PictureView* pictureView_;
    FloatingControls* floatingControlsView_;
    ControlsView* controlsView_;
    HoverBubble* hoverBubble_;
    /// While Picture in Picture is active.
    std::unique_ptr<ExternalPlaybackIndicatorView> pictureInPictureIndicatorView_;
    bool areControlsVisible_ = true;
};

} // namespace zelvane
