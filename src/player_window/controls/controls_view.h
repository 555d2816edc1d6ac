// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>
#include <QWidget>

#include "player_window/controls/accessible_widget.h"
#include "player_window/controls/controls_layout.h"
#include "player_window/controls/time_formatter.h"

namespace zelvane {

class ControlButton;
class Scrubber;
class TimeLabel;
class VolumeSlider;

/// The bar of controls: its widgets, where they are and what they show. What they do is connected
/// by its controller. As wide as its parent makes it. Main thread.
class ControlsView final : public QWidget, public AccessibleWidget {
    Q_OBJECT

  public:
    /// `duration` in seconds decides how wide the labels are, and whether they have hours.
    /// `content` says which controls there are; its widths are ignored.
    ControlsView(double duration, ControlsContent content, QWidget* parent);

    ControlButton& playPauseButton() const { return *playPauseButton_; }
    ControlButton& jumpBackButton() const { return *jumpBackButton_; }
    ControlButton& jumpForwardButton() const { return *jumpForwardButton_; }
    ControlButton& volumeButton() const { return *volumeButton_; }
    VolumeSlider& volumeSlider() const { return *volumeSlider_; }
    ControlButton& tracksButton() const { return *tracksButton_; }
    ControlButton& fullScreenButton() const { return *fullScreenButton_; }
    Scrubber& scrubber() const { return *scrubber_; }

    QAccessibleInterface* makeAccessible() override;
    void setPlaying(bool playing);
    void setJumpInterval(int seconds);
    void setVolume(double volume, bool muted);
    void setFullScreen(bool fullScreen);
    void setCurrentTime(double seconds);
    void setShowsEndTime(bool showsEndTime);
    bool showsEndTime() const { return showsEndTime_; }

  signals:
    /// A click on the label at the right.
    void endTimeLabelClicked();

  protected:
    void resizeEvent(QResizeEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;

  private:
    void setUpTexts();
    void layOut();
    void updateEndTimeLabel();

    double duration_;
    ControlsContent content_;
    TimeFormatter timeFormatter_;
    double currentTime_ = 0;
    bool showsEndTime_ = false;

    ControlButton* volumeButton_;
    VolumeSlider* volumeSlider_;
    ControlButton* jumpBackButton_;
    ControlButton* playPauseButton_;
    ControlButton* jumpForwardButton_;
    ControlButton* tracksButton_;
    ControlButton* fullScreenButton_;
    TimeLabel* currentTimeLabel_;
    Scrubber* scrubber_;
    TimeLabel* endTimeLabel_;
};

} // namespace zelvane
