// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>

#include <QCoreApplication>
#include <QString>

#include "media_player/playback/media_player.h"
#include "player_window/player/loop_marks.h"

namespace zelvane {

/// Plays the part between two marks again and again: seeks to the first when the running clock
/// crosses the second. Main thread.
class PlaybackLoop final {
    Q_DECLARE_TR_FUNCTIONS(PlaybackLoop)

  public:
    explicit PlaybackLoop(std::shared_ptr<MediaPlayer> mediaPlayer);
    ~PlaybackLoop();
    PlaybackLoop(const PlaybackLoop&) = delete;
    PlaybackLoop& operator=(const PlaybackLoop&) = delete;

    /// Sets or removes marks as marksAfterKey() says, and returns the notice for it.
    QString mark();
    const LoopMarks& marks() const { return marks_; }

  private:
    void start();
    void removeObserver();
    QString notice() const;

    const std::shared_ptr<MediaPlayer> mediaPlayer_;
    LoopMarks marks_;
    TimeObserverManager::ObserverRef endObserver_;
};

} // namespace zelvane
