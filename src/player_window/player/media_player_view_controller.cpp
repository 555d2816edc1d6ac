// SPDX-License-Identifier: GPL-3.0-or-later
#include "player_window/player/media_player_view_controller.h"

#include <utility>

#include <QMenu>
#include <QPointer>

#include "foundation/user_defaults.h"
#include "foundation/window_restoration_observer.h"
#include "player_window/controls/control_button.h"
#include "player_window/controls/controls_view.h"
#include "player_window/controls/floating_controls_visibility_controller.h"
#include "player_window/controls/media_player_controls_view_controller.h"
#include "player_window/controls/scrubber.h"
#include "player_window/error_alert.h"
#include "player_window/picture_view.h"
#include "player_window/player/menu_filling.h"
#include "player_window/player/player_tracks.h"
#include "player_window/player/restorable_playback.h"
#include "player_window/tracks/tracks_popover.h"
#include "player_window/views/audio_player_view.h"
#include "player_window/views/floating_controls.h"
#include "player_window/views/player_view_layout.h"
#include "player_window/views/video_player_view.h"
#include "player_window/window/window_sizing.h"

namespace zelvane {
namespace {

constexpr double kSecondsPerHour = 3600;
constexpr std::int32_t kMilliseconds = 1000;
constexpr std::string_view kDefaultPlaybackRateKey = "ZLVNDefaultPlaybackRate";
constexpr std::string_view kPlayAutomaticallyOnOpenKey = "ZLVNPlayAutomaticallyOnOpen";

WindowContent windowContentOf(const MediaPlayer& player, bool hasVideo) {
    return {.fittingSize = hasVideo ? fittingVideoPlayerSize() : audioPlayerSize(),
            .isResizable = hasVideo,
            .effectiveVideoSize = effectiveVideoSizeOf(player)};
}

} // namespace

MediaPlayerViewController::MediaPlayerViewController(std::shared_ptr<MediaPlayer> mediaPlayer,
                                                     const SubtitlesViews& subtitlesViews,
                                                     UserDefaults& defaults, QWidget& window)
    : mediaPlayer_(std::move(mediaPlayer)), defaults_(defaults),
      hasVideo_(!mediaPlayer_->mediaSource()->videoTracks().empty()) {
    loadView(subtitlesViews, window);
    controlsViewController_ = std::make_unique<MediaPlayerControlsViewController>(
        mediaPlayer_, *controlsView_, defaults_);
    addition_ = std::make_unique<ExternalSubtitlesAddition>(mediaPlayer_->mediaSource(), *view_,
                                                            additionHandlers());
    actions_ = std::make_unique<PlayerActions>(
        mediaPlayer_, *controlsViewController_, *addition_, pictureView(),
        PlayerActions::Handlers{
            [this](const QString& text) { emit noticeRequested(text); },
            [this](const MenuCommand& command) { emit commandRequested(command); }});
    connectControls();
    connectTracksPopover(window);
    if (videoPlayerView_ != nullptr) {
        startFloatingControls();
    }
    observePlayer();
}

MediaPlayerViewController::~MediaPlayerViewController() {
    mediaPlayer_->timeObserverManager().removeTimeObserver(*periodicTimeObserver_);
    view_->setDraggingDelegate(nullptr);
}

// The window owns the views. NOLINTBEGIN(cppcoreguidelines-owning-memory)
void MediaPlayerViewController::loadView(const SubtitlesViews& subtitlesViews, QWidget& window) {
    const PlayableSource& source = *mediaPlayer_->mediaSource();
    ControlsContent content;
    content.hasFullScreenButton = hasVideo_;
    content.hasTracksButton = !source.audioTracks().empty() || hasVideo_;
    controlsView_ = new ControlsView(source.duration().seconds(), content, &window);
    if (hasVideo_) {
        videoPlayerView_ = new VideoPlayerView(controlsView_, subtitlesViews.primary,
                                               subtitlesViews.secondary, &window);
        view_ = videoPlayerView_;
    } else {
        view_ = new AudioPlayerView(controlsView_, &window);
    }
    view_->setDraggingDelegate(this);
}
// NOLINTEND(cppcoreguidelines-owning-memory)

void MediaPlayerViewController::connectControls() {
    connect(&controlsView_->scrubber(), &Scrubber::hoverDidChange, this,
            &MediaPlayerViewController::hoverDidChange);
    connect(&controlsView_->fullScreenButton(), &ControlButton::clicked, this,
            &MediaPlayerViewController::fullScreenRequested);
    connect(&controlsView_->tracksButton(), &ControlButton::clicked, this,
            &MediaPlayerViewController::showTracks);
}

void MediaPlayerViewController::connectTracksPopover(QWidget& window) {
    // NOLINTNEXTLINE(cppcoreguidelines-owning-memory): owned by the window
    tracksPopover_ = new TracksPopover(&window);
    connect(tracksPopover_, &TracksPopover::closed, this,
            &MediaPlayerViewController::endHoldingControls);
    connect(tracksPopover_, &TracksPopover::rateChosen, this,
            [this](float rate) { actions_->perform(RateChoice{rate}); });
    connect(tracksPopover_, &TracksPopover::trackChosen, this,
            [this](TrackRole role, const std::shared_ptr<MediaTrack>& track) {
                actions_->perform(TrackChoice{role, track});
            });
    connect(tracksPopover_, &TracksPopover::addSubtitlesChosen, this,
            [this] { actions_->perform(PlayerAction::addSubtitles); });
}

void MediaPlayerViewController::startFloatingControls() {
    floatingControlsVisibilityController_ = std::make_unique<FloatingControlsVisibilityController>(
        *videoPlayerView_, videoPlayerView_->floatingControlsView(), [this](bool areVisible) {
            videoPlayerView_->controlsVisibilityDidChange(areVisible);
            emit controlsVisibilityDidChange(areVisible);
        });
    auto* floating = floatingControlsVisibilityController_.get();
    connect(controlsViewController_.get(),
            &MediaPlayerControlsViewController::didBeginUserInteraction, floating,
            &FloatingControlsVisibilityController::controlsDidBeginUserInteraction);
    connect(controlsViewController_.get(),
            &MediaPlayerControlsViewController::didEndUserInteraction, floating,
            &FloatingControlsVisibilityController::controlsDidEndUserInteraction);
}

void MediaPlayerViewController::observePlayer() {
    notificationObservers_ = mediaPlayer_->observeNotifications(
        dispatch::mainQueue(), [self = QPointer(this)](const Notification& notification) {
            if (self) {
                self->playerDidChange(notification);
            }
        });
    periodicTimeObserver_ = mediaPlayer_->timeObserverManager().addPeriodicTimeObserver(
        CMTime(1, 1), dispatch::mainQueue(), [self = QPointer(this)](const CMTime&) {
            if (self) {
                emit self->restorableStateWasInvalidated();
            }
        });
}

void MediaPlayerViewController::playerDidChange(const Notification& notification) {
    if (notification.name == MediaPlayer::kSelectedVideoTrackDidChangeNotification) {
        if (const auto pictureInPicture = mediaPlayer_->pictureInPictureController()) {
            pictureInPicture->invalidatePlaybackState();
        }
        emit preferredSizeDidChange();
    }
    if (notification.name != MediaPlayer::kVolumeDidChangeNotification) {
        emit restorableStateWasInvalidated();
    }
    if (tracksPopover_->isVisible()) {
        updateTracksPopover();
    }
}

PictureView* MediaPlayerViewController::pictureView() const {
    return videoPlayerView_ == nullptr ? nullptr
                                       : &videoPlayerView_->videoViewForPictureInPicture();
}

CGSize MediaPlayerViewController::minimumSize() const {
    return minimumContentSize(windowContentOf(*mediaPlayer_, hasVideo_));
}

CGSize MediaPlayerViewController::preferredSize() const {
    return preferredContentSize(windowContentOf(*mediaPlayer_, hasVideo_));
}

void MediaPlayerViewController::setTitleBar(const QWidget* titleBar) {
    if (floatingControlsVisibilityController_) {
        floatingControlsVisibilityController_->setTitleBar(titleBar);
    }
}

void MediaPlayerViewController::setFullScreen(bool isFullScreen) {
    controlsView_->setFullScreen(isFullScreen);
}

void MediaPlayerViewController::viewDidAppear() {
    controlsViewController_->startScrubberObserver();
    if (floatingControlsVisibilityController_) {
        floatingControlsVisibilityController_->start();
    }
    WindowRestorationObserver::shared().performAfterRestoration([self = QPointer(this)] {
        if (self) {
            self->runFirstAppearance();
        }
    });
}

void MediaPlayerViewController::viewWillDisappear() {
    if (floatingControlsVisibilityController_) {
        floatingControlsVisibilityController_->stop();
    }
}

void MediaPlayerViewController::runFirstAppearance() {
    if (!std::exchange(isFirstAppearance_, false) || isRestoredFromPersistedState_) {
        return;
    }
    const auto rate = static_cast<float>(defaults_.doubleForKey(kDefaultPlaybackRateKey));
    const bool plays = defaults_.boolForKey(kPlayAutomaticallyOnOpenKey);
    mediaPlayer_->queue()->sync([&] {
        if (isChoosableRate(rate)) {
            mediaPlayer_->setDesiredPlaybackRate(rate);
        }
        if (plays) {
            mediaPlayer_->play();
        }
    });
}

void MediaPlayerViewController::encodeRestorableState(StateCoder& coder) const {
    const float rate =
        mediaPlayer_->queue()->sync([this] { return mediaPlayer_->desiredPlaybackRate(); });
    encodePlayback({selectedTracksOf(*mediaPlayer_), mediaPlayer_->currentTime(), rate}, coder);
}

void MediaPlayerViewController::restoreState(const StateCoder& coder) {
    const RestoredPlayback restored = decodePlayback(coder, tracksOf(*mediaPlayer_->mediaSource()),
                                                     selectedTracksOf(*mediaPlayer_));
    selectTracks(*mediaPlayer_, restored.tracks);
    mediaPlayer_->queue()->sync([&] {
        if (restored.currentTime) {
            mediaPlayer_->seekTo(*restored.currentTime);
        }
        if (restored.desiredPlaybackRate) {
            mediaPlayer_->setDesiredPlaybackRate(*restored.desiredPlaybackRate);
        }
    });
    isRestoredFromPersistedState_ = true;
}

// The window owns the menu. NOLINTBEGIN(cppcoreguidelines-owning-memory)
QMenu& MediaPlayerViewController::makeMenu(const std::vector<MenuEntry>& entries) {
    auto* menu = new QMenu(view_->window());
    fillMenu(*menu, entries, [this](const MenuCommand& command) { actions_->perform(command); });
    // An item may close the window, so that nothing waits for the menu.
    connect(menu, &QMenu::aboutToHide, this, &MediaPlayerViewController::endHoldingControls);
    connect(menu, &QMenu::aboutToHide, menu, &QObject::deleteLater);
    return *menu;
}
// NOLINTEND(cppcoreguidelines-owning-memory)

void MediaPlayerViewController::showMenu(const std::vector<MenuEntry>& entries,
                                         const QPoint& globalPosition) {
    beginHoldingControls();
    makeMenu(entries).popup(globalPosition);
}

void MediaPlayerViewController::showTracks() {
    ControlButton& button = controlsView_->tracksButton();
    if (!hasVideo_) {
        // The window is lower than a popover.
        showMenu(soundTracksMenu(actions_->menuState()),
                 button.mapToGlobal(QPoint(0, button.height())));
        return;
    }
    updateTracksPopover();
    tracksPopover_->openFor(button);
    beginHoldingControls();
}

void MediaPlayerViewController::updateTracksPopover() {
    const PlayerMenuState state = actions_->menuState();
    tracksPopover_->setModel(
        {.sections = tracksMenu(state.tracks, state.selectedTracks, state.displayLanguage),
         .canAddSubtitles = hasVideo_ && !state.isAddingSubtitles,
         .rate = state.rate});
}

void MediaPlayerViewController::beginHoldingControls() {
    ++holdCount_;
    controlsViewController_->setPopoverVisible(true);
}

void MediaPlayerViewController::endHoldingControls() {
    --holdCount_;
    controlsViewController_->setPopoverVisible(holdCount_ > 0);
}

void MediaPlayerViewController::hoverDidChange(std::optional<double> value, double x) {
    if (videoPlayerView_ == nullptr) {
        return;
    }
    videoPlayerView_->showHoverText(value ? std::optional(hoverText(*value)) : std::nullopt, x);
}

QString MediaPlayerViewController::hoverText(double seconds) const {
    const TimeFormatter formatter(controlsView_->scrubber().maxValue() >= kSecondsPerHour);
    QString time = QString::fromStdString(formatter.string(seconds));
    const MediaChapters& chapters = mediaPlayer_->mediaSource()->chapters();
    const auto chapter = chapterAt(chapters, CMTime::fromSeconds(seconds, kMilliseconds));
    if (!chapter) {
        return time;
    }
    constexpr qsizetype kLongestTitle = 48;
    QString title = chapterTitle(chapters, *chapter);
    if (title.size() > kLongestTitle) {
        title = title.left(kLongestTitle).trimmed() + QChar(0x2026);
    }
    return tr("%1 — %2").arg(time, title);
}

ExternalSubtitlesAddition::Handlers MediaPlayerViewController::additionHandlers() {
    ExternalSubtitlesAddition::Handlers handlers;
    handlers.didAdd = [this](const auto& tracks) { actions_->selectAdded(tracks); };
    handlers.didFail = [this](const URL& url, const auto& error) {
        didFailToAddExternalSubtitles(url, error);
    };
    handlers.didBegin = [this] { beginHoldingControls(); };
    handlers.didEnd = [this] { endHoldingControls(); };
    return handlers;
}

void MediaPlayerViewController::didFailToAddExternalSubtitles(const URL& url,
                                                              const MediaSourceLoadError& error) {
    beginHoldingControls();
    showErrorAlert(error, QString::fromStdString(url.lastPathComponent()), view_->window(),
                   [self = QPointer(this)] {
                       if (self) {
                           self->endHoldingControls();
                       }
                   });
}

} // namespace zelvane
