// SPDX-License-Identifier: GPL-3.0-or-later
#include "player_window/views/video_player_view.h"

#include <cmath>

#include <QPainter>

#include "player_window/controls/controls_view.h"
#include "player_window/controls/fading_panel.h"
#include "player_window/controls/scrubber.h"
#include "player_window/controls/widget_geometry.h"
#include "player_window/desktop/desktop_settings.h"
#include "player_window/picture_view.h"
#include "player_window/views/external_playback_indicator_view.h"
#include "player_window/views/floating_controls.h"
#include "player_window/views/hover_bubble.h"
#include "player_window/views/player_view_layout.h"

namespace zelvane {
namespace {

constexpr int kGapOverPanel = 10;

} // namespace

// All widgets belong to this one. NOLINTBEGIN(cppcoreguidelines-owning-memory)
VideoPlayerView::VideoPlayerView(ControlsView* controlsView,
                                 const std::shared_ptr<SubtitlesView>& primarySubtitlesView,
                                 const std::shared_ptr<SubtitlesView>& secondarySubtitlesView,
                                 QWidget* parent)
    : MediaPlayerView(parent), pictureView_(new PictureView(this)),
      floatingControlsView_(new FloatingControls(
          [this](QPainter& painter) {
              const PaintPicture& paint = pictureView_->paintPicture();
              return paint && hasPicture() && paint(painter);
          },
          this)),
      controlsView_(controlsView), hoverBubble_(new HoverBubble(this)) {
    setAttribute(Qt::WA_OpaquePaintEvent);
    pictureView_->addSubtitles(primarySubtitlesView, secondarySubtitlesView);
    floatingControlsView_->setContent(controlsView_);
}
// NOLINTEND(cppcoreguidelines-owning-memory)

VideoPlayerView::~VideoPlayerView() = default;

bool VideoPlayerView::hasPicture() const {
    return pictureView_->parentWidget() == this;
}

std::shared_ptr<VideoPresenter> VideoPlayerView::presenter() const {
    return pictureView_->presenter();
}

void VideoPlayerView::showHoverText(const std::optional<QString>& text, double x) {
    hoverBubble_->setVisible(text.has_value());
    if (text) {
        const Scrubber& scrubber = controlsView_->scrubber();
        const int middle = scrubber.mapTo(this, QPoint(static_cast<int>(std::lround(x)), 0)).x();
        hoverBubble_->showText(*text, {middle, floatingControlsView_->y() - kGapOverPanel});
    }
}

void VideoPlayerView::controlsVisibilityDidChange(bool areVisible) {
    areControlsVisible_ = areVisible;
    const bool reducesMotion = DesktopSettings::shared().preferences().reducesMotion;
    moveSubtitles(reducesMotion ? 0 : FadingPanel::kFadeDuration);
}

void VideoPlayerView::pictureInPictureWillStart() {
    pictureInPictureIndicatorView_ = std::make_unique<ExternalPlaybackIndicatorView>(
        ControlSymbol::pictureInPicture, tr("Picture in Picture indicator"),
        tr("This video is playing in Picture in Picture."), QString(), this);
    pictureInPictureIndicatorView_->setGeometry(rect());
    pictureInPictureIndicatorView_->lower();
    pictureInPictureIndicatorView_->show();
}

void VideoPlayerView::pictureInPictureDidStop() {
    pictureView_->setParent(this);
    pictureView_->setGeometry(rect());
    pictureView_->stackUnder(floatingControlsView_);
    pictureView_->show();
    pictureInPictureIndicatorView_ = nullptr;
    moveSubtitles(0);
}

void VideoPlayerView::moveSubtitles(int duration) {
    std::optional<ControlsOverPicture> controls;
    if (areControlsVisible_ && hasPicture()) {
        controls = {{0, 0, static_cast<double>(width()), kTitleBarHeight},
                    rectOf(floatingControlsView_->geometry())};
    }
    pictureView_->keepSubtitlesClearOf(controls, duration);
}

void VideoPlayerView::resizeEvent(QResizeEvent* /*event*/) {
    if (hasPicture()) {
        pictureView_->setGeometry(rect());
    }
    if (pictureInPictureIndicatorView_ != nullptr) {
        pictureInPictureIndicatorView_->setGeometry(rect());
    }
    floatingControlsView_->setGeometry(nearestPoints(floatingControlsRect(sizeOf(size()))));
    moveSubtitles(0);
}

void VideoPlayerView::paintEvent(QPaintEvent* /*event*/) {
    QPainter(this).fillRect(rect(), Qt::black);
}

} // namespace zelvane
