// SPDX-License-Identifier: GPL-3.0-or-later
#include "application/media_player_document.h"

#include <utility>

#include <QString>

#include "foundation/dispatch.h"
#include "media_player/subtitles_view/subtitles_view.h"
#include "player_window/error_alert.h"
#include "player_window/picture_view.h"
#include "player_window/subtitles_choice.h"

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

/// Few side files say their language, and a person knows them by their names.
QString nameOfTrack(const SubtitlesTrackRef& track) {
    const auto external = std::dynamic_pointer_cast<ExternalSubtitlesTrack>(track);
    const auto file = external
                          ? std::dynamic_pointer_cast<MediaSource>(external->externalMediaSource())
                          : nullptr;
    return file ? QString::fromStdString(file->url().lastPathComponent())
                : subtitlesTrackName(*track);
}

QString noticeOfTrack(SubtitlesPosition position, const SubtitlesTrackRef& track) {
    const auto place =
        position == SubtitlesPosition::primary ? QStringLiteral("bottom") : QStringLiteral("top");
    return QStringLiteral("Subtitles (%1): %2")
        .arg(place, track ? nameOfTrack(track) : QStringLiteral("off"));
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
    auto environment = playerEnvironment(parts_);
    environment.makeSubtitlesRenderer = makeSubtitlesView;
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
    showWindow();
    player_->queue()->sync([this] { player_->play(); });
}

void MediaPlayerDocument::showWindow() {
    std::optional<CGSize> pictureSize;
    if (const auto track = player_->selectedVideoTrack()) {
        pictureSize = track->dimensions().effectiveSize;
    }
    const auto name = QString::fromStdString(mediaSource_->url().lastPathComponent());
    window_ = std::make_unique<PlainPlayerWindow>(name, pictureSize, windowCallbacks());
    showPicture();
    window_->show();
}

PlainPlayerWindow::Callbacks MediaPlayerDocument::windowCallbacks() {
    PlainPlayerWindow::Callbacks callbacks;
    callbacks.onTogglePlay = [player = std::weak_ptr(player_)] {
        if (const auto playing = player.lock()) {
            playing->queue()->sync([&] { playing->togglePlayPause(); });
        }
    };
    callbacks.onClose = [this] { onClosed_(false); };
    callbacks.onCycleSubtitles = [this](SubtitlesPosition position) { cycleSubtitles(position); };
    callbacks.canAddSubtitles = [this] { return !isAddingSubtitles_; };
    callbacks.onAddSubtitles = [this](const URL& url) { addSubtitles(url); };
    return callbacks;
}

void MediaPlayerDocument::showPicture() const {
    if (auto* pictureView = window_->pictureView()) {
        parts_.displayLayer->setPresenter(pictureView->presenter());
        const auto subtitlesView = [this](SubtitlesPosition position) {
            return std::dynamic_pointer_cast<SubtitlesView>(player_->subtitlesRenderer(position));
        };
        pictureView->addSubtitles(subtitlesView(SubtitlesPosition::primary),
                                  subtitlesView(SubtitlesPosition::secondary));
    }
}

void MediaPlayerDocument::cycleSubtitles(SubtitlesPosition position) const {
    if (window_->pictureView() == nullptr) {
        return;
    }
    const auto other = position == SubtitlesPosition::primary ? SubtitlesPosition::secondary
                                                              : SubtitlesPosition::primary;
    const auto track = nextSubtitlesTrack(mediaSource_->subtitlesTracks(),
                                          player_->selectedSubtitlesTrack(position),
                                          player_->selectedSubtitlesTrack(other));
    player_->setSelectedSubtitlesTrack(position, track);
    window_->showNotice(noticeOfTrack(position, track));
}

void MediaPlayerDocument::addSubtitles(const URL& url) {
    isAddingSubtitles_ = true;
    window_->showNotice(
        QStringLiteral("Opening “%1”…").arg(QString::fromStdString(url.lastPathComponent())));
    mediaSource_->addExternalSubtitles(
        url,
        onMain<ExternalSubtitlesTracks>(shared_from_this(), &MediaPlayerDocument::didAddSubtitles),
        onMain<MediaSource::LoadError>(shared_from_this(),
                                       &MediaPlayerDocument::didFailToAddSubtitles));
}

void MediaPlayerDocument::didAddSubtitles(const ExternalSubtitlesTracks& tracks) {
    isAddingSubtitles_ = false;
    if (tracks.empty()) {
        return;
    }
    const SubtitlesTrackRef track = tracks.front();
    const auto position =
        freePositionFor(track, player_->selectedSubtitlesTrack(SubtitlesPosition::primary),
                        player_->selectedSubtitlesTrack(SubtitlesPosition::secondary));
    if (position) {
        player_->setSelectedSubtitlesTrack(*position, track);
        window_->showNotice(noticeOfTrack(*position, track));
    } else {
        window_->showNotice(QStringLiteral("Added: %1").arg(nameOfTrack(track)));
    }
}

void MediaPlayerDocument::didFailToAddSubtitles(const MediaSource::LoadError& error) {
    isAddingSubtitles_ = false;
    showErrorAlert(error, window_.get());
}

} // namespace zelvane
