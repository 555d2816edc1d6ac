// SPDX-License-Identifier: GPL-3.0-or-later
#include "player_window/views/audio_player_view.h"

#include <cmath>

#include <QPainter>

#include "player_window/controls/control_colors.h"
#include "player_window/controls/controls_view.h"
#include "player_window/views/player_view_layout.h"

namespace zelvane {

AudioPlayerView::AudioPlayerView(ControlsView* controlsView, QWidget* parent)
    : MediaPlayerView(parent), controlsView_(controlsView) {
    setAttribute(Qt::WA_OpaquePaintEvent);
    controlsView_->setParent(this);
}

void AudioPlayerView::resizeEvent(QResizeEvent* /*event*/) {
    const int top = static_cast<int>(std::lround(kTitleBarHeight));
    controlsView_->setGeometry(0, top, width(), height() - top);
}

void AudioPlayerView::paintEvent(QPaintEvent* /*event*/) {
    QPainter(this).fillRect(rect(), control_colors::kAudioWindow);
}

} // namespace zelvane
