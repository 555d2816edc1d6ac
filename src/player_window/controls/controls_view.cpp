// SPDX-License-Identifier: GPL-3.0-or-later
#include "player_window/controls/controls_view.h"

#include <cmath>

#include <QWheelEvent>

#include "player_window/controls/control_button.h"
#include "player_window/controls/scrubber.h"
#include "player_window/controls/time_label.h"
#include "player_window/controls/volume_slider.h"
#include "player_window/controls/widget_geometry.h"
#include "player_window/window/player_action.h"

namespace zelvane {
namespace {

constexpr double kSecondsPerHour = 3600;
constexpr double kPlaySymbolSize = 26;
constexpr double kJumpSymbolSize = 22;
/// Below it the symbol of the volume has one wave.
constexpr double kLowVolume = 0.5;

void place(QWidget& widget, const std::optional<CGRect>& rect) {
    widget.setVisible(rect.has_value());
    if (rect) {
        widget.setGeometry(nearestPoints(*rect));
    }
}

ControlSymbol volumeSymbol(double volume, bool muted) {
    if (muted || volume == 0) {
        return ControlSymbol::volumeMuted;
    }
    return volume < kLowVolume ? ControlSymbol::volumeLow : ControlSymbol::volume;
}

} // namespace

// All widgets belong to this one. NOLINTBEGIN(cppcoreguidelines-owning-memory)
ControlsView::ControlsView(double duration, ControlsContent content, QWidget* parent)
    : QWidget(parent), duration_(duration), content_(content),
      timeFormatter_(duration >= kSecondsPerHour),
      volumeButton_(new ControlButton(ControlSymbol::volume, tr("Mute"), this)),
      volumeSlider_(new VolumeSlider(this)),
      jumpBackButton_(new ControlButton(ControlSymbol::jumpBack, {}, this)),
      playPauseButton_(new ControlButton(ControlSymbol::play, tr("Play"), this)),
      jumpForwardButton_(new ControlButton(ControlSymbol::jumpForward, {}, this)),
      tracksButton_(new ControlButton(ControlSymbol::tracks, tr("Tracks"), this)),
      fullScreenButton_(
          new ControlButton(ControlSymbol::fullScreen, tr("Enter Full Screen"), this)),
      currentTimeLabel_(new TimeLabel(Qt::AlignLeft, this)), scrubber_(new Scrubber(this)),
      endTimeLabel_(new TimeLabel(Qt::AlignRight, this)) {
    playPauseButton_->setShape(ControlButton::Shape::circle);
    playPauseButton_->setSymbolSize(kPlaySymbolSize);
    jumpBackButton_->setSymbolSize(kJumpSymbolSize);
    jumpForwardButton_->setSymbolSize(kJumpSymbolSize);
    volumeButton_->setKeyOf(PlayerAction::toggleMute);
    jumpBackButton_->setKeyOf(PlayerAction::jumpBackward);
    playPauseButton_->setKeyOf(PlayerAction::togglePlayPause);
    jumpForwardButton_->setKeyOf(PlayerAction::jumpForward);
    fullScreenButton_->setKeyOf(PlayerAction::toggleFullScreen);
    for (auto* button : {volumeButton_, jumpBackButton_, playPauseButton_, jumpForwardButton_,
                         tracksButton_, fullScreenButton_}) {
        button->setShowsToolTipAbove(true);
    }
    scrubber_->setRange(0, duration);
    endTimeLabel_->setClickable(true);
    connect(endTimeLabel_, &TimeLabel::clicked, this, &ControlsView::endTimeLabelClicked);
    setUpTexts();
}
// NOLINTEND(cppcoreguidelines-owning-memory)

void ControlsView::setUpTexts() {
    setAccessibleName(tr("Controls"));
    const auto widest = [this](double seconds) {
        return endTimeLabel_->widthOf(QString::fromStdString(timeFormatter_.string(seconds)));
    };
    content_.currentTimeWidth = std::ceil(widest(duration_));
    content_.endTimeWidth = std::ceil(widest(-duration_));
    setJumpInterval(15);
    setCurrentTime(0);
}

QAccessibleInterface* ControlsView::makeAccessible() {
    // The toolkit owns it. NOLINTNEXTLINE(cppcoreguidelines-owning-memory)
    return new QAccessibleWidget(this, QAccessible::ToolBar);
}

void ControlsView::setPlaying(bool playing) {
    playPauseButton_->setSymbol(playing ? ControlSymbol::pause : ControlSymbol::play,
                                playing ? tr("Pause") : tr("Play"));
}

void ControlsView::setJumpInterval(int seconds) {
    jumpBackButton_->setBadge(QString::number(seconds));
    jumpForwardButton_->setBadge(QString::number(seconds));
    jumpBackButton_->setSymbol(ControlSymbol::jumpBack, tr("Jump Back %n Seconds", "", seconds));
    jumpForwardButton_->setSymbol(ControlSymbol::jumpForward,
                                  tr("Jump Forward %n Seconds", "", seconds));
}

void ControlsView::setVolume(double volume, bool muted) {
    volumeButton_->setSymbol(volumeSymbol(volume, muted), muted ? tr("Unmute") : tr("Mute"));
    volumeSlider_->setVolume(volume);
    volumeSlider_->setMuted(muted);
}

void ControlsView::setFullScreen(bool fullScreen) {
    fullScreenButton_->setSymbol(fullScreen ? ControlSymbol::leaveFullScreen
                                            : ControlSymbol::fullScreen,
                                 fullScreen ? tr("Leave Full Screen") : tr("Enter Full Screen"));
}

void ControlsView::setCurrentTime(double seconds) {
    currentTime_ = seconds;
    currentTimeLabel_->setText(QString::fromStdString(timeFormatter_.string(seconds)));
    updateEndTimeLabel();
}

void ControlsView::setShowsEndTime(bool showsEndTime) {
    showsEndTime_ = showsEndTime;
    updateEndTimeLabel();
}

void ControlsView::updateEndTimeLabel() {
    const double seconds = showsEndTime_ ? duration_ : -(duration_ - currentTime_);
    endTimeLabel_->setText(QString::fromStdString(timeFormatter_.string(seconds)));
    endTimeLabel_->setToolTip(
        nameWithKey(showsEndTime_ ? tr("Show Remaining Time") : tr("Show End Time"),
                    PlayerAction::toggleEndTime));
}

void ControlsView::layOut() {
    const ControlsLayout layout = layOutControls(width(), content_);
    place(*volumeButton_, layout.volumeButton);
    place(*volumeSlider_, layout.volumeSlider);
    place(*jumpBackButton_, layout.jumpBackButton);
    place(*playPauseButton_, layout.playPauseButton);
    place(*jumpForwardButton_, layout.jumpForwardButton);
    place(*tracksButton_, layout.tracksButton);
    place(*fullScreenButton_, layout.fullScreenButton);
    place(*currentTimeLabel_, layout.currentTimeLabel);
    place(*scrubber_, layout.scrubber);
    place(*endTimeLabel_, layout.endTimeLabel);
}

void ControlsView::resizeEvent(QResizeEvent* /*event*/) {
    layOut();
}

void ControlsView::wheelEvent(QWheelEvent* event) {
    scrubber_->scroll(event);
}

} // namespace zelvane
