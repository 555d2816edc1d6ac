// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <chrono>
#include <exception>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "application/document_lifecycle.h"
#include "application/restoration_count.h"
#include "foundation/dispatch.h"
#include "foundation/file_bookmark.h"
#include "foundation/notification_center.h"
#include "foundation/state_coder.h"
#include "foundation/url.h"
#include "media_player/media_source/load_interruption.h"
#include "media_player/media_source/media_source.h"
#include "media_player/playback/media_player.h"
#include "player_assembly/player_assembly.h"
#include "player_window/window/media_player_window_controller.h"
#include "subtitles_view/subtitles_view.h"

namespace zelvane {

class MediaPlayerDocumentProgressWindowController;

/// One opened file: loads its source, and owns its player and its window. Main thread.
///
/// A load that takes long shows a window in which the user can cancel it; a load that fails shows
/// an alert. A document of the last run shows neither, and loads its side files before it starts
/// the player.
class MediaPlayerDocument final : public std::enable_shared_from_this<MediaPlayerDocument> {
  public:
    struct Handlers {
        /// Called once when the document has closed; it may be destroyed after the call. The flag
        /// says whether it closed with an alert.
        std::function<void(bool didFail)> onClosed = {};
        /// A new file cannot be opened. The document shows an alert.
        std::function<void(const std::exception&)> onFailedToOpen = {};
        /// The user wants to choose another file.
        std::function<void()> onOpen = {};
        /// Other files to open, each as a document of its own.
        std::function<void(const std::vector<URL>&)> onOpenMedia = {};
        /// As in MediaPlayerWindowController::Callbacks.
        std::function<void(const MenuCommand&)> perform = {};
        std::function<ApplicationMenuState()> menuState = [] { return ApplicationMenuState(); };
        /// restorableState() has changed.
        std::function<void()> onInvalidateRestorableState = {};
        /// Runs a task of the main thread when its turn has come; without it, tasks run at once.
        std::function<void(dispatch::Task)> onTurn = {};
        /// Called once after restore(): the window is shown, or cannot be, and onClosed follows.
        /// Not after open().
        std::function<void(bool didRestore)> onRestored = {};
    };

    /// From the window of a restored document to the end of its restoration.
    static constexpr std::chrono::milliseconds kRestorationEnd{500};

    /// Starts to load; everything else follows from that. With the state of an earlier run its
    /// window comes back as with restore().
    static std::shared_ptr<MediaPlayerDocument>
    open(const URL& url, Handlers handlers, std::optional<StateCoder> state = std::nullopt);
    /// The same for a file and its window of the last run, which is shown paused.
    static std::shared_ptr<MediaPlayerDocument> restore(const StateCoder& state, Handlers handlers);
    ~MediaPlayerDocument();

    /// Drops what is being loaded, and closes; does nothing once the window is there.
    void cancelLoad();
    /// What restore() needs in a later run; none while a new file is loaded.
    std::optional<StateCoder> restorableState() const;
    /// Null before it is shown.
    MediaPlayerWindow* window() const;
    /// The window, if this document has opened that player; else null.
    MediaPlayerWindow* windowOf(const MediaPlayer& player) const;

  private:
    MediaPlayerDocument(std::string fileName, Handlers handlers);

    void takeState(const StateCoder& state);
    void load(std::function<URL()> findFile);
    void showProgress();
    void didFinishLoading();
    void didFailToLoad(const MediaSource::LoadError& error);
    void didLoad(const std::shared_ptr<MediaSource>& source);
    void restoreSource();
    void didRestoreSource(const std::optional<MediaSource::LoadError>& error);
    void startPlayer();
    void didMakePlayer(std::shared_ptr<MediaPlayer> player);
    void openWindow();
    void makeWindow();
    void showWindow();
    MediaPlayerWindowController::Callbacks windowCallbacks();
    void invalidateRestorableState() const;

    const std::string fileName_;
    Handlers handlers_;
    DocumentLifecycle lifecycle_;
    const LoadInterruption interruption_;
    /// While a file is opened that is not of the last run.
    std::unique_ptr<MediaPlayerDocumentProgressWindowController> progressWindowController_;
    AutomaticTerminationManager automaticTerminationManager_{SessionServices::shared().processInfo};
    PlayerParts parts_;
    SubtitlesViews subtitlesViews_;
    /// That of the last run, until its window takes it.
    std::optional<StateCoder> restoredState_;
    RestorationCount restorationCount_;
    std::shared_ptr<MediaSource> mediaSource_;
    NotificationObserver mediaSourceObserver_;
    std::shared_ptr<MediaPlayer> player_;
    std::unique_ptr<MediaPlayerWindowController> window_;
};

} // namespace zelvane
