// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <memory>

#include "foundation/url.h"
#include "media_player/media_source/media_source.h"
#include "media_player/playback/media_player.h"
#include "player_assembly/player_assembly.h"
#include "player_window/plain_player_window.h"

namespace zelvane {

/// One opened file: its source, its player and its window, from the path to the picture. Main
/// thread.
///
///   loading ──> starting the player ──> playing ──(window closed)──> closed
///      └──────(failure)──> alert ──(dismissed)──> closed
class MediaPlayerDocument final : public std::enable_shared_from_this<MediaPlayerDocument> {
  public:
    /// Called once when the document has nothing left to show; it may be let go then. The flag
    /// tells whether it ended with an alert.
    using ClosedHandler = std::function<void(bool didFail)>;

    /// Begins to load; the rest happens by itself.
    static std::shared_ptr<MediaPlayerDocument> open(const URL& url, ClosedHandler onClosed);
    ~MediaPlayerDocument();

  private:
    explicit MediaPlayerDocument(ClosedHandler onClosed) : onClosed_(std::move(onClosed)) {}

    void load(const URL& url);
    void didFailToLoad(const MediaSource::LoadError& error);
    void didLoad(const std::shared_ptr<MediaSource>& source);
    void didMakePlayer(std::shared_ptr<MediaPlayer> player);
    void showWindow();
    PlainPlayerWindow::Callbacks windowCallbacks();
    void showPicture() const;

    void cycleSubtitles(SubtitlesPosition position) const;
    void addSubtitles(const URL& url);
    void didAddSubtitles(const ExternalSubtitlesTracks& tracks);
    void didFailToAddSubtitles(const MediaSource::LoadError& error);

    ClosedHandler onClosed_;
    std::shared_ptr<MediaSource> mediaSource_;
    PlayerParts parts_;
    std::shared_ptr<MediaPlayer> player_;
    std::unique_ptr<PlainPlayerWindow> window_;
    /// One file at a time.
    bool isAddingSubtitles_ = false;
};

} // namespace zelvane
