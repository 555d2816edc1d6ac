// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <memory>
#include <vector>

#include <QObject>

#include "foundation/notification_center.h"
#include "media_player/playback/media_player.h"

namespace zelvane {

class ControlsView;
class UserDefaults;

/// Connects the bar of controls to a player: turns what a person does into calls on the player, and
/// keeps labels and scrubber in step with its clock. Main thread.
class MediaPlayerControlsViewController final : public QObject {
    Q_OBJECT

  public:
    /// Keeps neither the player nor its owner alive through its observers. `view` must outlive it.
    MediaPlayerControlsViewController(std::shared_ptr<MediaPlayer> mediaPlayer, ControlsView& view,
                                      UserDefaults& defaults);
    ~MediaPlayerControlsViewController() override;

    /// Whether a person drags the scrubber or has a popover of the controls open.
    bool isUserInteracting() const { return isUserInteracting_; }
    void setPopoverVisible(bool visible);

    void togglePlayPauseState();
    void stepBackward();
    void stepForward();
    /// By the jump interval of the settings.
    void jumpBackward();
    void jumpForward();
    /// Without pausing.
    void seekBy(double seconds);
    void jumpToBeginning();
    void jumpToEnd();
    void toggleEndAndRemainingTimeLabelVisibility();
    /// By a share of the whole range, up to 1.
    void changeVolume(double difference);
    void toggleMute();

    /// Once the window is laid out: the scrubber moves by whole device pixels, also after its width
    /// has changed.
    void startScrubberObserver();

  signals:
    void didBeginUserInteraction();
    void didEndUserInteraction();

  protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

  private:
    void connectControls();
    void observePlayer();
    /// Runs `work` on the player's queue and waits for it.
    template <class Work>
    void onQueue(Work&& work) const;
    void setVolume(double volume);
    void pauseAndSeekTo(const CMTime& time);
    void pauseAndStep(int frames);
    void scrubberValueDidChange(double value);
    void scrubberDidBeginTracking();
    void scrubberDidEndTracking();
    void mediaPlayerRateDidChange();
    void audioVolumeDidChange();
    void settingsDidChange();
    void updateIsUserInteracting();
    double currentSeconds() const;
    void startLabelObserver();
    void removeObserver(TimeObserverManager::ObserverRef& observer) const;

    const std::shared_ptr<MediaPlayer> mediaPlayer_;
    ControlsView& view_;
    UserDefaults& defaults_;
    const double endTime_;
    bool isUserInteracting_ = false;
    bool isPopoverVisible_ = false;
    TimeObserverManager::ObserverRef periodicTimeObserverForLabels_;
    TimeObserverManager::ObserverRef periodicTimeObserverForScrubber_;
    std::vector<NotificationObserver> notificationObservers_;
};

/// The seconds of a jump: the setting within 1…300.
double jumpInterval(const UserDefaults& defaults);

/// The time between two movements of the scrubber by a device pixel, in seconds, at least 0.001.
double scrubberUpdateInterval(double endTime, double width, double devicePixelRatio);

} // namespace zelvane
