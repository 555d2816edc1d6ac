// SPDX-License-Identifier: GPL-3.0-or-later
#include "application/media_player_document.h"

#include <cstdlib>
#include <utility>

#include "foundation/dispatch.h"
#include "foundation/log.h"
#include "foundation/user_defaults.h"
#include "player_window/error_alert.h"
#include "player_window/picture_view.h"

namespace zelvane {
namespace {

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

/// For measurements: the player has no other report of frames that were not shown in time.
void logStatisticsIfRequested(const PlayerParts& parts) {
    // NOLINTNEXTLINE(concurrency-mt-unsafe)
    if (parts.displayLayer == nullptr || std::getenv("ZELVANE_LOG_STATISTICS") == nullptr) {
        return;
    }
    const auto frames = parts.displayLayer->statistics();
    logMessage("Frames: {} shown, {} dropped, {} late; error {:.2f} ms mean, {:.2f} ms maximum",
               frames.framesShown, frames.framesDropped, frames.framesLate, frames.meanFrameError,
               frames.maxFrameError);
}

} // namespace

std::shared_ptr<MediaPlayerDocument> MediaPlayerDocument::open(const URL& url, Handlers handlers) {
    std::shared_ptr<MediaPlayerDocument> document(
        new MediaPlayerDocument(url, std::move(handlers)));
    document->load();
    return document;
}

MediaPlayerDocument::~MediaPlayerDocument() {
    logStatisticsIfRequested(parts_);
}

void MediaPlayerDocument::load() {
    const auto self = shared_from_this();
    MediaSource::load(url_,
                      onMain<std::shared_ptr<MediaSource>>(self, &MediaPlayerDocument::didLoad),
                      onMain<MediaSource::LoadError>(self, &MediaPlayerDocument::didFailToLoad));
}

void MediaPlayerDocument::didFailToLoad(const MediaSource::LoadError& error) {
    showErrorAlert(error, QString::fromStdString(url_.lastPathComponent()), nullptr,
                   [self = shared_from_this()] { self->handlers_.onClosed(true); });
}

void MediaPlayerDocument::didLoad(const std::shared_ptr<MediaSource>& source) {
    if (source->videoTracks().empty() && source->audioTracks().empty()) {
        didFailToLoad(MediaSource::LoadError::noDecodableTracks({MediaType::video}));
        return;
    }
    parts_ = makePlayerParts(SoundOutput::soundServer);
    auto environment = playerEnvironment(parts_);
    subtitlesViews_ = makeSubtitlesViews(parts_.renderSynchronizer);
    environment.primarySubtitlesRenderer = subtitlesViews_.primary;
    environment.secondarySubtitlesRenderer = subtitlesViews_.secondary;
    const auto start = [source, environment = std::move(environment),
                        completion = onMain<std::shared_ptr<MediaPlayer>>(
                            shared_from_this(), &MediaPlayerDocument::didMakePlayer)] {
        makeMediaPlayer(environment, source, defaultTracks(*source), std::nullopt,
                        dispatch::mainQueue(), completion);
    };
    dispatch::globalQueue(dispatch::QualityOfService::userInitiated)->async(start);
}

void MediaPlayerDocument::didMakePlayer(std::shared_ptr<MediaPlayer> player) {
    player_ = std::move(player);
    window_ = std::make_unique<MediaPlayerWindowController>(
        player_, subtitlesViews_, UserDefaults::shared(),
        MediaPlayerWindowController::Callbacks{.onClose = [this] { handlers_.onClosed(false); },
                                               .onOpen = handlers_.onOpen,
                                               .onOpenMedia = handlers_.onOpenMedia});
    if (const auto* pictureView = window_->pictureView()) {
        parts_.displayLayer->setPresenter(pictureView->presenter());
    }
    window_->show();
}

} // namespace zelvane
