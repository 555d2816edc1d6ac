// SPDX-License-Identifier: GPL-3.0-or-later
#include "player_window/controls/media_player_controls_view_controller.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include <QEvent>
#include <QPointer>

#include "foundation/user_defaults.h"
#include "player_window/controls/control_button.h"
#include "player_window/controls/controls_view.h"
#include "player_window/controls/scrubber.h"
#include "player_window/controls/spoken_time.h"
#include "player_window/controls/volume_slider.h"

namespace zelvane {
namespace {

constexpr std::string_view kJumpIntervalKey = "ZLVNJumpIntervalInSeconds";
constexpr std::string_view kShowEndTimeKey = "ZLVNShowEndTimeInsteadOfRemainingTime";
constexpr std::int32_t kMilliseconds = 1000;
/// One frame of film at the NTSC rate for a point of scrolling.
constexpr double kScrollingValueAmount = 1 / 23.976;

} // namespace

double jumpInterval(const UserDefaults& defaults) {
    constexpr double kShortest = 1;
    constexpr double kLongest = 300;
    const double seconds = defaults.doubleForKey(kJumpIntervalKey);
    return seconds > kShortest ? std::min(seconds, kLongest) : kShortest;
}

double scrubberUpdateInterval(double endTime, double width, double devicePixelRatio) {
    constexpr double kShortest = 0.001;
    const double pixels = std::ceil(width * devicePixelRatio);
    return pixels > 0 ? std::max(endTime / pixels, kShortest) : std::max(endTime, kShortest);
}

MediaPlayerControlsViewController::MediaPlayerControlsViewController(
    std::shared_ptr<MediaPlayer> mediaPlayer, ControlsView& view, UserDefaults& defaults)
    : mediaPlayer_(std::move(mediaPlayer)), view_(view), defaults_(defaults),
      endTime_(mediaPlayer_->mediaSource()->duration().seconds()) {
    connectControls();
    observePlayer();
    settingsDidChange();
    mediaPlayerRateDidChange();
    audioVolumeDidChange();
    updateIsUserInteracting();
    startLabelObserver();
}

MediaPlayerControlsViewController::~MediaPlayerControlsViewController() {
    removeObserver(periodicTimeObserverForLabels_);
    removeObserver(periodicTimeObserverForScrubber_);
}

void MediaPlayerControlsViewController::connectControls() {
    using Self = MediaPlayerControlsViewController;
    Scrubber& scrubber = view_.scrubber();
    scrubber.setScrollingValueAmount(kScrollingValueAmount);
    scrubber.setAccessibilityValueFormatter(spokenTime);
    scrubber.installEventFilter(this);
    connect(&scrubber, &Scrubber::valueDidChange, this, &Self::scrubberValueDidChange);
    connect(&scrubber, &Scrubber::didBeginTracking, this, &Self::scrubberDidBeginTracking);
    connect(&scrubber, &Scrubber::didEndTracking, this, &Self::scrubberDidEndTracking);
    const auto onClick = [this](ControlButton& button, void (Self::*method)()) {
        connect(&button, &ControlButton::clicked, this, method);
    };
    onClick(view_.playPauseButton(), &Self::togglePlayPauseState);
    onClick(view_.jumpBackButton(), &Self::jumpBackward);
    onClick(view_.jumpForwardButton(), &Self::jumpForward);
    onClick(view_.volumeButton(), &Self::toggleMute);
    connect(&view_.volumeSlider(), &VolumeSlider::volumeDidChange, this, &Self::setVolume);
    connect(&view_, &ControlsView::endTimeLabelClicked, this,
            &Self::toggleEndAndRemainingTimeLabelVisibility);
}

bool MediaPlayerControlsViewController::eventFilter(QObject* watched, QEvent* event) {
    const bool isRunning = periodicTimeObserverForScrubber_ != nullptr;
    if (event->type() == QEvent::Resize && isRunning && !view_.scrubber().isTracking()) {
        startScrubberObserver();
    }
    return QObject::eventFilter(watched, event);
}

void MediaPlayerControlsViewController::observePlayer() {
    using Self = MediaPlayerControlsViewController;
    const auto observe = [this](std::string_view name, const void* object, void (Self::*method)()) {
        notificationObservers_.push_back(NotificationCenter::shared().addObserver(
            std::string(name), object, dispatch::mainQueue(),
            [self = QPointer(this), method](const Notification&) {
                if (self) {
                    ((*self).*method)();
                }
            }));
    };
    observe(MediaPlayer::kRateDidChangeNotification, mediaPlayer_.get(),
            &Self::mediaPlayerRateDidChange);
    observe(kAudioRendererVolumeDidChangeNotification, mediaPlayer_->audioRenderer().get(),
            &Self::audioVolumeDidChange);
    observe(UserDefaults::kDidChangeNotification, &defaults_, &Self::settingsDidChange);
}

template <class Work>
void MediaPlayerControlsViewController::onQueue(Work&& work) const {
    mediaPlayer_->queue()->sync(std::forward<Work>(work));
}

void MediaPlayerControlsViewController::togglePlayPauseState() {
    onQueue([this] { mediaPlayer_->togglePlayPause(); });
}

void MediaPlayerControlsViewController::pauseAndStep(int frames) {
    onQueue([this, frames] {
        mediaPlayer_->pause();
        mediaPlayer_->seekBy(MediaPlayer::Frames{frames});
    });
}

void MediaPlayerControlsViewController::stepBackward() {
    pauseAndStep(-1);
}

void MediaPlayerControlsViewController::stepForward() {
    pauseAndStep(1);
}

void MediaPlayerControlsViewController::seekBy(double seconds) {
    onQueue([this, seconds] { mediaPlayer_->seekBy(MediaPlayer::Seconds{seconds}); });
}

void MediaPlayerControlsViewController::jumpBackward() {
    seekBy(-jumpInterval(defaults_));
}

void MediaPlayerControlsViewController::jumpForward() {
    seekBy(jumpInterval(defaults_));
}

void MediaPlayerControlsViewController::pauseAndSeekTo(const CMTime& time) {
    onQueue([this, &time] {
        mediaPlayer_->pause();
        mediaPlayer_->seekTo(time);
    });
}

void MediaPlayerControlsViewController::jumpToBeginning() {
    pauseAndSeekTo(kCMTimeZero);
}

void MediaPlayerControlsViewController::jumpToEnd() {
    pauseAndSeekTo(mediaPlayer_->mediaSource()->duration());
}

void MediaPlayerControlsViewController::toggleEndAndRemainingTimeLabelVisibility() {
    view_.setShowsEndTime(!view_.showsEndTime());
    defaults_.set(kShowEndTimeKey, view_.showsEndTime());
}

void MediaPlayerControlsViewController::setVolume(double volume) {
    auto& renderer = *mediaPlayer_->audioRenderer();
    renderer.setMuted(false);
    renderer.setVolume(static_cast<float>(std::clamp(volume, 0.0, 1.0)));
}

void MediaPlayerControlsViewController::changeVolume(double difference) {
    setVolume(mediaPlayer_->audioRenderer()->volume() + difference);
}

void MediaPlayerControlsViewController::toggleMute() {
    auto& renderer = *mediaPlayer_->audioRenderer();
    renderer.setMuted(!renderer.isMuted());
}

void MediaPlayerControlsViewController::scrubberValueDidChange(double value) {
    onQueue([this, value] { mediaPlayer_->seekTo(CMTime::fromSeconds(value, kMilliseconds)); });
    view_.setCurrentTime(value);
}

void MediaPlayerControlsViewController::scrubberDidBeginTracking() {
    onQueue([this] { mediaPlayer_->beginInteractiveSeeking(); });
    updateIsUserInteracting();
    view_.scrubber().setValue(currentSeconds());
}

void MediaPlayerControlsViewController::scrubberDidEndTracking() {
    onQueue([this] { mediaPlayer_->endInteractiveSeeking(); });
    updateIsUserInteracting();
}

void MediaPlayerControlsViewController::setPopoverVisible(bool visible) {
    isPopoverVisible_ = visible;
    updateIsUserInteracting();
}

void MediaPlayerControlsViewController::updateIsUserInteracting() {
    bool isInteracting = isPopoverVisible_;
    onQueue([&] { isInteracting = isInteracting || mediaPlayer_->isSeekingInteractively(); });
    if (isInteracting == std::exchange(isUserInteracting_, isInteracting)) {
        return;
    }
    if (isInteracting) {
        emit didBeginUserInteraction();
    } else {
        emit didEndUserInteraction();
    }
}

void MediaPlayerControlsViewController::mediaPlayerRateDidChange() {
    bool isPlaying = false;
    onQueue([&] { isPlaying = mediaPlayer_->isPlaying(); });
    view_.setPlaying(isPlaying);
}

void MediaPlayerControlsViewController::audioVolumeDidChange() {
    const auto& renderer = *mediaPlayer_->audioRenderer();
    view_.setVolume(renderer.volume(), renderer.isMuted());
}

void MediaPlayerControlsViewController::settingsDidChange() {
    view_.setShowsEndTime(defaults_.boolForKey(kShowEndTimeKey));
    view_.setJumpInterval(static_cast<int>(std::lround(jumpInterval(defaults_))));
}

double MediaPlayerControlsViewController::currentSeconds() const {
    return mediaPlayer_->currentTime().seconds();
}

void MediaPlayerControlsViewController::startLabelObserver() {
    removeObserver(periodicTimeObserverForLabels_);
    view_.setCurrentTime(currentSeconds());
    periodicTimeObserverForLabels_ = mediaPlayer_->timeObserverManager().addPeriodicTimeObserver(
        CMTime(1, 1), dispatch::mainQueue(), [self = QPointer(this)](const CMTime&) {
            if (self) {
                self->view_.setCurrentTime(self->currentSeconds());
            }
        });
}

void MediaPlayerControlsViewController::startScrubberObserver() {
    removeObserver(periodicTimeObserverForScrubber_);
    Scrubber& scrubber = view_.scrubber();
    scrubber.setValue(currentSeconds());
    const double interval =
        scrubberUpdateInterval(endTime_, scrubber.width(), scrubber.devicePixelRatio());
    periodicTimeObserverForScrubber_ = mediaPlayer_->timeObserverManager().addPeriodicTimeObserver(
        CMTime::fromSeconds(interval, kMilliseconds), dispatch::mainQueue(),
        [self = QPointer(this)](const CMTime&) {
            // The clock shows the targets of a drag late, so the knob would leave the pointer.
            if (self && !self->view_.scrubber().isTracking()) {
                self->view_.scrubber().setValue(self->currentSeconds());
            }
        });
}

void MediaPlayerControlsViewController::removeObserver(
    TimeObserverManager::ObserverRef& observer) const {
    if (observer) {
        mediaPlayer_->timeObserverManager().removeTimeObserver(*observer);
        observer = nullptr;
    }
}

} // namespace zelvane
