// SPDX-License-Identifier: GPL-3.0-or-later
#include "player_window/player/playback_loop.h"

#include <utility>

#include "player_window/controls/time_formatter.h"

namespace zelvane {
namespace {

QString textOf(const CMTime& time) {
    return QString::fromStdString(TimeFormatter(false).string(time.seconds()));
}

} // namespace

PlaybackLoop::PlaybackLoop(std::shared_ptr<MediaPlayer> mediaPlayer)
    : mediaPlayer_(std::move(mediaPlayer)) {}

PlaybackLoop::~PlaybackLoop() {
    removeObserver();
}

QString PlaybackLoop::mark() {
    marks_ =
        marksAfterKey(marks_, mediaPlayer_->currentTime(), mediaPlayer_->mediaSource()->duration());
    removeObserver();
    if (marks_.end) {
        start();
    }
    return notice();
}

void PlaybackLoop::start() {
    const auto seekToStart = [weakPlayer = std::weak_ptr(mediaPlayer_), start = *marks_.start] {
        if (const auto player = weakPlayer.lock()) {
            player->seekTo(start);
        }
    };
    endObserver_ = mediaPlayer_->timeObserverManager().addBoundaryTimeObserver(
        {*marks_.end}, mediaPlayer_->queue(), seekToStart);
    // The mark that was just set at the present time is crossed by nothing.
    if (mediaPlayer_->currentTime() >= *marks_.end) {
        mediaPlayer_->queue()->sync(seekToStart);
    }
}

void PlaybackLoop::removeObserver() {
    if (endObserver_) {
        mediaPlayer_->timeObserverManager().removeTimeObserver(*endObserver_);
        endObserver_ = nullptr;
    }
}

QString PlaybackLoop::notice() const {
    if (marks_.end) {
        return tr("Loop: %1 – %2").arg(textOf(*marks_.start), textOf(*marks_.end));
    }
    return marks_.start ? tr("Loop from %1").arg(textOf(*marks_.start)) : tr("Loop: off");
}

} // namespace zelvane
