// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <memory>
#include <vector>

#include "foundation/url.h"
#include "media_player/media_source/media_source.h"
#include "media_player/playback/media_player.h"
#include "player_assembly/player_assembly.h"
#include "player_window/window/media_player_window_controller.h"
#include "subtitles_view/subtitles_view.h"

namespace zelvane {

/// One opened file: loads its source, and owns its player and its window. Main thread.
///
///   loading ──> starting the player ──> playing ──(window closed)──> closed
///      └──────(failure)──> alert ──(dismissed)──> closed
class MediaPlayerDocument final : public std::enable_shared_from_this<MediaPlayerDocument> {
  public:
    struct Handlers {
        /// Called once when the document has closed; it may be destroyed after the call. The flag
        /// says whether it closed with an alert.
        std::function<void(bool didFail)> onClosed = {};
        /// The user wants to choose another file.
        std::function<void()> onOpen = {};
        /// Other files to open, each as a document of its own.
        std::function<void(const std::vector<URL>&)> onOpenMedia = {};
    };

    /// Starts to load; everything else follows from that.
    static std::shared_ptr<MediaPlayerDocument> open(const URL& url, Handlers handlers);
    ~MediaPlayerDocument();

  private:
    MediaPlayerDocument(URL url, Handlers handlers)
        : url_(std::move(url)), handlers_(std::move(handlers)) {}

    void load();
    void didFailToLoad(const MediaSource::LoadError& error);
    void didLoad(const std::shared_ptr<MediaSource>& source);
    void didMakePlayer(std::shared_ptr<MediaPlayer> player);

    const URL url_;
    Handlers handlers_;
    PlayerParts parts_;
    SubtitlesViews subtitlesViews_;
    std::shared_ptr<MediaPlayer> player_;
    std::unique_ptr<MediaPlayerWindowController> window_;
};

} // namespace zelvane
