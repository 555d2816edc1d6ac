// SPDX-License-Identifier: GPL-3.0-or-later
#include "application/media_player_document.h"

#include <utility>

#include <QString>

#include "foundation/dispatch.h"
#include "player_window/error_alert.h"

namespace zelvane {
namespace {

/// Calls `method` of the document with the argument on the main queue, if it is still there.
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

} // namespace

std::shared_ptr<MediaPlayerDocument> MediaPlayerDocument::open(const URL& url,
                                                               ClosedHandler onClosed) {
    std::shared_ptr<MediaPlayerDocument> document(new MediaPlayerDocument(std::move(onClosed)));
    document->load(url);
    return document;
}

MediaPlayerDocument::~MediaPlayerDocument() = default;

void MediaPlayerDocument::load(const URL& url) {
    const auto self = shared_from_this();
    MediaSource::load(url,
                      onMain<std::shared_ptr<MediaSource>>(self, &MediaPlayerDocument::didLoad),
                      onMain<MediaSource::LoadError>(self, &MediaPlayerDocument::didFailToLoad));
}

void MediaPlayerDocument::didFailToLoad(const MediaSource::LoadError& error) {
    showErrorAlert(error, nullptr, [self = shared_from_this()] { self->onClosed_(true); });
}

void MediaPlayerDocument::didLoad(const std::shared_ptr<MediaSource>& source) {
    if (source->videoTracks().empty() && source->audioTracks().empty()) {
        didFailToLoad(MediaSource::LoadError::noDecodableTracks({MediaType::video}));
        return;
    }
    mediaSource_ = source;
    parts_ = makePlayerParts(SoundOutput::soundServer);
    const auto start = [source, environment = playerEnvironment(parts_),
                        completion = onMain<std::shared_ptr<MediaPlayer>>(
                            shared_from_this(), &MediaPlayerDocument::didMakePlayer)] {
        makeMediaPlayer(environment, source, defaultTracks(*source), std::nullopt,
                        dispatch::mainQueue(), completion);
    };
    dispatch::globalQueue(dispatch::QualityOfService::userInitiated)->async(start);
}

void MediaPlayerDocument::didMakePlayer(std::shared_ptr<MediaPlayer> player) {
    player_ = std::move(player);
    showWindow();
    player_->queue()->sync([this] { player_->play(); });
}

void MediaPlayerDocument::showWindow() {
    std::optional<CGSize> pictureSize;
    if (const auto track = player_->selectedVideoTrack()) {
        pictureSize = track->dimensions().effectiveSize;
    }
    PlainPlayerWindow::Callbacks callbacks;
    callbacks.onTogglePlay = [player = std::weak_ptr(player_)] {
        if (const auto playing = player.lock()) {
            playing->queue()->sync([&] { playing->togglePlayPause(); });
        }
    };
    callbacks.onClose = [this] { onClosed_(false); };
    const auto name = QString::fromStdString(mediaSource_->url().lastPathComponent());
    window_ = std::make_unique<PlainPlayerWindow>(name, pictureSize, std::move(callbacks));
    if (const auto presenter = window_->presenter()) {
        parts_.displayLayer->setPresenter(presenter);
    }
    window_->show();
}

} // namespace zelvane
