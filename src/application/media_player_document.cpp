// SPDX-License-Identifier: GPL-3.0-or-later
#include "application/media_player_document.h"

#include <cstdlib>
#include <string_view>
#include <utility>

#include <QTimer>

#include "application/media_player_document_progress_window_controller.h"
#include "foundation/error.h"
#include "foundation/log.h"
#include "foundation/user_defaults.h"
#include "player_window/error_alert.h"
#include "player_window/picture_view.h"
#include "player_window/player/player_tracks.h"
#include "player_window/player/restorable_playback.h"
#include "player_window/window/media_player_window.h"

namespace zelvane {
namespace {

constexpr std::string_view kIdentifierKey = "identifier";
constexpr std::string_view kWindowIdentifier = "zelvane.player.MediaPlayerWindow";
constexpr std::string_view kMediaSourceKey = "zelvane.MediaPlayerDocument.mediaSource";

/// Calls `method` of the document with the argument on the main queue, if the document lives.
template <class Argument, class Method>
std::function<void(Argument)> onMain(const std::shared_ptr<MediaPlayerDocument>& document,
                                     Method method) {
    return [weak = std::weak_ptr(document), method](Argument argument) {
        dispatch::mainQueue()->async([weak, method, argument = std::move(argument)] {
            if (const auto self = weak.lock()) {
                ((*self).*method)(argument);
            }
        });
    };
}

struct InitialPlayback {
    TrackSelection tracks;
    std::optional<CMTime> time;
};

/// The tracks and the position of a new player. A restored player gets its stored position here,
/// so that its first picture is the one of that position.
InitialPlayback initialPlayback(const MediaSource& source,
                                const std::optional<StateCoder>& restoredState) {
    const TrackSelection chosen = defaultTracks(source);
    if (!restoredState) {
        return {chosen, std::nullopt};
    }
    const auto restored = decodePlayback(*restoredState, tracksOf(source), {.video = chosen.video});
    const SelectedTracks& tracks = restored.tracks;
    return {{tracks.video, tracks.audio, tracks.primarySubtitles, tracks.secondarySubtitles},
            restored.currentTime};
}

/// For measurements: the player has no other report of frames that were not shown in time.
void logStatisticsIfRequested(const PlayerParts& parts) {
    // NOLINTNEXTLINE(concurrency-mt-unsafe)
    const bool isRequested = std::getenv("ZELVANE_LOG_STATISTICS") != nullptr ||
                             UserDefaults::shared().boolForKey("ZLVNLogStatistics");
    if (parts.displayLayer == nullptr || !isRequested) {
        return;
    }
    const auto frames = parts.displayLayer->statistics();
    logMessage("Frames: {} shown, {} dropped, {} late; error {:.2f} ms mean, {:.2f} ms maximum",
               frames.framesShown, frames.framesDropped, frames.framesLate, frames.meanFrameError,
               frames.maxFrameError);
}

} // namespace

MediaPlayerDocument::MediaPlayerDocument(std::string fileName, Handlers handlers)
    : fileName_(std::move(fileName)), handlers_(std::move(handlers)) {}

std::shared_ptr<MediaPlayerDocument> MediaPlayerDocument::open(const URL& url, Handlers handlers,
                                                               std::optional<StateCoder> state) {
    handlers.onRestored = nullptr;
    std::shared_ptr<MediaPlayerDocument> document(
        new MediaPlayerDocument(url.lastPathComponent(), std::move(handlers)));
    if (state) {
        document->takeState(*state);
    }
    document->showProgress();
    document->load([url] { return url; });
    return document;
}

std::shared_ptr<MediaPlayerDocument> MediaPlayerDocument::restore(const StateCoder& state,
                                                                  Handlers handlers) {
    const auto bookmark = FileBookmark::decode(state);
    std::shared_ptr<MediaPlayerDocument> document(new MediaPlayerDocument(
        bookmark ? bookmark->url().lastPathComponent() : "", std::move(handlers)));
    document->takeState(state);
    document->load([bookmark] { return bookmark ? bookmark->resolve() : URL::parse(""); });
    return document;
}

void MediaPlayerDocument::takeState(const StateCoder& state) {
    restoredState_ = state;
    restorationCount_ = RestorationCount::decode(state);
}

MediaPlayerDocument::~MediaPlayerDocument() {
    if (lifecycle_.cancel()) {
        interruption_.request();
    }
    logStatisticsIfRequested(parts_);
}

MediaPlayerWindow* MediaPlayerDocument::window() const {
    return window_ ? &window_->window() : nullptr;
}

std::optional<StateCoder> MediaPlayerDocument::restorableState() const {
    if (!window_) {
        return restoredState_;
    }
    StateCoder coder;
    coder.encodeString(kIdentifierKey, std::string(kWindowIdentifier));
    mediaSource_->fileBookmark().encode(coder);
    coder.encodeState(kMediaSourceKey, mediaSource_->restorableState());
    window_->encodeRestorableState(coder);
    restorationCount_.encode(coder);
    return coder;
}

MediaPlayerWindow* MediaPlayerDocument::windowOf(const MediaPlayer& player) const {
    return window_ && player_.get() == &player ? &window_->window() : nullptr;
}

void MediaPlayerDocument::invalidateRestorableState() const {
    if (handlers_.onInvalidateRestorableState) {
        handlers_.onInvalidateRestorableState();
    }
}

void MediaPlayerDocument::load(std::function<URL()> findFile) {
    const auto self = shared_from_this();
    automaticTerminationManager_.disable("Started loading media.");
    const auto load =
        [findFile = std::move(findFile), interruption = interruption_,
         didLoad = onMain<std::shared_ptr<MediaSource>>(self, &MediaPlayerDocument::didLoad),
         didFail = onMain<MediaSource::LoadError>(self, &MediaPlayerDocument::didFailToLoad)] {
            MediaSource::load(findFile(), didLoad, didFail, interruption);
        };
    // A file on a network can take long to find.
    dispatch::globalQueue(dispatch::QualityOfService::userInitiated)->async(load);
}

void MediaPlayerDocument::showProgress() {
    using Controller = MediaPlayerDocumentProgressWindowController;
    progressWindowController_ = std::make_unique<Controller>(QString::fromStdString(fileName_));
    QObject::connect(progressWindowController_.get(), &Controller::didCancel,
                     [this] { cancelLoad(); });
}

void MediaPlayerDocument::cancelLoad() {
    if (lifecycle_.cancel()) {
        interruption_.request();
        if (progressWindowController_) {
            progressWindowController_->close();
        }
        if (handlers_.onRestored) {
            handlers_.onRestored(false);
        }
        handlers_.onClosed(false);
    }
}

void MediaPlayerDocument::didFinishLoading() {
    automaticTerminationManager_.enable("Finished loading media.");
}

void MediaPlayerDocument::didFailToLoad(const MediaSource::LoadError& error) {
    didFinishLoading();
    if (!lifecycle_.didFailToLoad()) {
        return;
    }
    if (handlers_.onRestored) {
        handlers_.onRestored(false);
        handlers_.onClosed(false);
        return;
    }
    if (handlers_.onFailedToOpen) {
        handlers_.onFailedToOpen(error);
    }
    // The alert takes the place of the window: two windows of almost one size would overlap.
    progressWindowController_->close();
    showErrorAlert(error, QString::fromStdString(fileName_), nullptr,
                   [self = shared_from_this()] { self->handlers_.onClosed(true); });
}

void MediaPlayerDocument::didLoad(const std::shared_ptr<MediaSource>& source) {
    if (lifecycle_.isLoadCancelled()) {
        didFinishLoading();
        return;
    }
    if (source->videoTracks().empty() && source->audioTracks().empty()) {
        didFailToLoad(MediaSource::LoadError::noDecodableTracks({MediaType::video}));
        return;
    }
    lifecycle_.didLoad();
    mediaSource_ = source;
    mediaSourceObserver_ = NotificationCenter::shared().addObserver(
        std::string(MediaSource::kRestorableStateWasInvalidatedNotification), source.get(),
        dispatch::mainQueue(), [weak = weak_from_this()](const Notification&) {
            if (const auto self = weak.lock()) {
                self->invalidateRestorableState();
            }
        });
    invalidateRestorableState();
    if (restoredState_) {
        restoreSource();
    } else {
        startPlayer();
    }
}

void MediaPlayerDocument::restoreSource() {
    const auto didRestore = onMain<std::optional<MediaSource::LoadError>>(
        shared_from_this(), &MediaPlayerDocument::didRestoreSource);
    mediaSource_->restore(restoredState_->decodeState(kMediaSourceKey).value_or(StateCoder()),
                          didRestore);
}

void MediaPlayerDocument::didRestoreSource(const std::optional<MediaSource::LoadError>& error) {
    if (error) {
        logMessage("Failed to restore side files: {}.", errorDescriptionText(*error));
    }
    startPlayer();
}

void MediaPlayerDocument::startPlayer() {
    parts_ = makePlayerParts(SoundOutput::soundServer);
    auto environment = playerEnvironment(parts_);
    subtitlesViews_ = makeSubtitlesViews(parts_.renderSynchronizer);
    environment.primarySubtitlesRenderer = subtitlesViews_.primary;
    environment.secondarySubtitlesRenderer = subtitlesViews_.secondary;
    const auto start = [source = mediaSource_, environment = std::move(environment),
                        state = restoredState_,
                        completion = onMain<std::shared_ptr<MediaPlayer>>(
                            shared_from_this(), &MediaPlayerDocument::didMakePlayer)] {
        const InitialPlayback initial = initialPlayback(*source, state);
        makeMediaPlayer(environment, source, initial.tracks, initial.time, dispatch::mainQueue(),
                        completion);
    };
    dispatch::globalQueue(dispatch::QualityOfService::userInitiated)->async(start);
    didFinishLoading();
}

MediaPlayerWindowController::Callbacks MediaPlayerDocument::windowCallbacks() {
    return {.onClose = [this] { handlers_.onClosed(false); },
            .onOpen = handlers_.onOpen,
            .onOpenMedia = handlers_.onOpenMedia,
            .perform = handlers_.perform,
            .menuState = handlers_.menuState,
            .onInvalidateRestorableState = [this] { invalidateRestorableState(); }};
}

void MediaPlayerDocument::didMakePlayer(std::shared_ptr<MediaPlayer> player) {
    if (!lifecycle_.didMakePlayer()) {
        return;
    }
    player_ = std::move(player);
    if (handlers_.onTurn) {
        handlers_.onTurn([weak = weak_from_this()] {
            if (const auto self = weak.lock()) {
                self->openWindow();
            }
        });
    } else {
        openWindow();
    }
}

void MediaPlayerDocument::openWindow() {
    makeWindow();
    progressWindowController_ = nullptr;
    showWindow();
}

void MediaPlayerDocument::makeWindow() {
    window_ = std::make_unique<MediaPlayerWindowController>(
        player_, subtitlesViews_, UserDefaults::shared(), windowCallbacks());
    if (const auto* pictureView = window_->pictureView()) {
        const auto connectPresenter = [pictureView, layer = parts_.displayLayer] {
            layer->setPresenter(pictureView->presenter());
        };
        connectPresenter();
        QObject::connect(pictureView, &PictureView::didReplacePresenter, connectPresenter);
    }
    if (const auto state = std::exchange(restoredState_, std::nullopt)) {
        window_->restoreState(*state);
    }
}

void MediaPlayerDocument::showWindow() {
    window_->show();
    invalidateRestorableState();
    // The first pictures can still end the program.
    QTimer::singleShot(kRestorationEnd, window_.get(), [this] {
        restorationCount_ = {};
        invalidateRestorableState();
    });
    if (handlers_.onRestored) {
        handlers_.onRestored(true);
    }
}

} // namespace zelvane
