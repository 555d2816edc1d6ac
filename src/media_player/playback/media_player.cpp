// SPDX-License-Identifier: GPL-3.0-or-later
#include "media_player/playback/media_player.h"

#include <cassert>
#include <utility>

#include "foundation/log.h"
#include "foundation/playback_preferences.h"

namespace zelvane {
namespace {

std::string flushTimeText(const Notification& notification) {
    const auto found = notification.userInfo.find(kAudioRendererFlushTimeKey);
    const auto* time =
        found == notification.userInfo.end() ? nullptr : std::any_cast<CMTime>(&found->second);
    return time != nullptr ? fmt::format("{}", time->seconds()) : "[nil]";
}

void requireMainQueue() {
    if (!dispatch::mainQueue()->isCurrent()) {
        fatalError("A media player is made on the main queue.");
    }
}

} // namespace

std::shared_ptr<MediaPlayer> MediaPlayer::create(MediaPlayerEnvironment environment,
                                                 std::shared_ptr<PlayableSource> mediaSource) {
    requireMainQueue();
    auto player =
        std::make_shared<MediaPlayer>(Key{}, std::move(environment), std::move(mediaSource));
    player->observe();
    player->observePlatform();
    player->environment_.nowPlaying->registerMediaPlayer(player);
    return player;
}

MediaPlayer::MediaPlayer(Key /*key*/, MediaPlayerEnvironment environment,
                         std::shared_ptr<PlayableSource> mediaSource)
    : environment_(std::move(environment)),
      queue_(dispatch::makeSerialQueue("Media Player Queue",
                                       dispatch::QualityOfService::userInitiated)),
      automaticTerminationManager_(environment_.processInfo),
      idleSleepManager_(environment_.powerManagement), mediaSource_(std::move(mediaSource)),
      timeObserverManager_(renderSynchronizer(), startTime()), state_(mediaSource_->duration()) {
    audioRenderer()->setAudioTimePitchAlgorithm(
        AVAudioTimePitchAlgorithm::AVAudioTimePitchAlgorithmSpectral);
    renderSynchronizer()->setRate(0, startTime());
    renderSynchronizer()->addRenderer(environment_.displayLayer.synchronized);
    renderSynchronizer()->addRenderer(environment_.audioRenderer.synchronized);
    makeSubtitles(SubtitlesPosition::primary);
    makeSubtitles(SubtitlesPosition::secondary);
    visualDataProvider_ = std::make_shared<VisualDataProvider>(
        mediaSource_, displayLayer(), at(SubtitlesPosition::primary).renderer,
        at(SubtitlesPosition::secondary).renderer);
    audioDataProvider_ = std::make_shared<AudioDataProvider>(mediaSource_, audioRenderer());
    at(SubtitlesPosition::secondary)
        .selectedTrack.shareLock(at(SubtitlesPosition::primary).selectedTrack.lock());
    audioRenderer()->setAllowedAudioSpatializationFormats(kAVAudioSpatializationFormatsAll);
}

MediaPlayer::~MediaPlayer() {
    environment_.nowPlaying->unregisterMediaPlayer(*this);
    if (endTimeObserver_) {
        timeObserverManager_.removeTimeObserver(*endTimeObserver_);
    }
    if (ownsAudioRouting_) {
        environment_.audioRouting->releaseOwnership();
    }
}

void MediaPlayer::makeSubtitles(SubtitlesPosition position) {
    const bool isPrimary = position == SubtitlesPosition::primary;
    Subtitles& subtitles = at(position);
    subtitles.notification = isPrimary ? kSelectedPrimarySubtitlesTrackDidChangeNotification
                                       : kSelectedSecondarySubtitlesTrackDidChangeNotification;
    subtitles.renderer =
        isPrimary ? environment_.primarySubtitlesRenderer : environment_.secondarySubtitlesRenderer;
    subtitles.dataProvider =
        std::make_shared<ExternalSubtitlesDataProvider>(mediaSource_, subtitles.renderer);
}

std::function<void()> MediaPlayer::asyncCalling(Method method) {
    return [queue = queue_, weakSelf = weak_from_this(), method] {
        queue->async([weakSelf, method] {
            if (const auto self = weakSelf.lock()) {
                (self.get()->*method)();
            }
        });
    };
}

void MediaPlayer::observe() {
    endTimeObserver_ = timeObserverManager_.addBoundaryTimeObserver(
        {mediaSource_->duration()}, queue_, [weakSelf = weak_from_this()] {
            if (const auto self = weakSelf.lock()) {
                self->perform(self->state_.clockDidReachEnd());
            }
        });
    NotificationCenter& center = NotificationCenter::shared();
    const auto add = [&](std::string_view name, const void* object, auto handle) {
        notificationObservers_.push_back(
            center.addObserver(std::string(name), object, nullptr,
                               [weakSelf = weak_from_this(), handle](const Notification& posted) {
                                   if (const auto self = weakSelf.lock()) {
                                       handle(*self, posted);
                                   }
                               }));
    };
    add(kRenderSynchronizerRateDidChangeNotification, renderSynchronizer().get(),
        [](MediaPlayer& self, const auto&) { self.synchronizerRateDidChange(); });
    add(kAudioRendererWasFlushedAutomaticallyNotification, audioRenderer().get(),
        [](MediaPlayer& self, const auto& posted) {
            self.audioRendererWasFlushedAutomatically(posted);
        });
    add(kAudioRendererVolumeDidChangeNotification, audioRenderer().get(),
        [](MediaPlayer& self, const auto&) { self.post(kVolumeDidChangeNotification); });
    add(kAudioSpatializationAllowedDidChangeNotification, nullptr,
        [](MediaPlayer& self, const auto&) {
            self.asyncCalling (&MediaPlayer::reseekToCurrentTime)();
        });
}

void MediaPlayer::observePlatform() {
    if (environment_.textStyleUpdateNotifier) {
        userSpecifiedTextStyleObserver_ =
            environment_.textStyleUpdateNotifier->addMediaPlayerObserver(
                asyncCalling(&MediaPlayer::reseekToCurrentTime));
    }
    for (const std::string_view name :
         {kWorkspaceWillSleepNotification, kWorkspaceSessionDidResignActiveNotification}) {
        notificationObservers_.push_back(environment_.workspaceNotificationCenter->addObserver(
            std::string(name), nullptr, nullptr, [weakSelf = weak_from_this()](const auto&) {
                if (const auto self = weakSelf.lock()) {
                    self->pauseSynchronously();
                }
            }));
    }
}

std::vector<NotificationObserver>
MediaPlayer::observeNotifications(const std::shared_ptr<dispatch::Queue>& queue,
                                  const NotificationCenter::Handler& handler) const {
    std::vector<NotificationObserver> observers;
    for (const std::string_view name :
         {kSelectedVideoTrackDidChangeNotification, kSelectedAudioTrackDidChangeNotification,
          kSelectedPrimarySubtitlesTrackDidChangeNotification,
          kSelectedSecondarySubtitlesTrackDidChangeNotification, kRateDidChangeNotification,
          kDidSeekNotification, kVolumeDidChangeNotification}) {
        observers.push_back(
            NotificationCenter::shared().addObserver(std::string(name), this, queue, handler));
    }
    return observers;
}

void MediaPlayer::post(std::string_view notification) {
    dispatch::globalQueue(dispatch::QualityOfService::userInteractive)
        ->async([weakSelf = weak_from_this(), name = std::string(notification)] {
            if (const auto self = weakSelf.lock()) {
                NotificationCenter::shared().post({name, self.get(), {}});
            }
        });
}

CMTime MediaPlayer::currentTime() const {
    return renderSynchronizer()->currentTime() - startTime();
}

PlaybackState::Clock MediaPlayer::clock() const {
    assert(queue_->isCurrent());
    return {renderSynchronizer()->rate(), currentTime()};
}

float MediaPlayer::rate() const {
    return state_.rate(clock());
}

float MediaPlayer::desiredPlaybackRate() const {
    assert(queue_->isCurrent());
    return state_.desiredPlaybackRate();
}

void MediaPlayer::setDesiredPlaybackRate(float rate) {
    perform(state_.setDesiredPlaybackRate(rate, clock()));
}

void MediaPlayer::play() {
    perform(state_.play(clock()));
}

void MediaPlayer::pause() {
    assert(queue_->isCurrent());
    perform(state_.pause());
}

void MediaPlayer::togglePlayPause() {
    if (isPlaying()) {
        pause();
    } else {
        play();
    }
}

void MediaPlayer::perform(const PlaybackState::Actions& actions) {
    for (const PlaybackState::Action& action : actions) {
        std::visit([this](const auto& each) { perform(each); }, action);
    }
}

void MediaPlayer::perform(const PlaybackState::SetClockRate& action) {
    assert(queue_->isCurrent());
    logMessage("{}: Setting synchronizer rate to {:g}.", objectIdentifier("MediaPlayer", this),
               action.rate);
    rateSettingThread_ = std::this_thread::get_id();
    if (action.time) {
        renderSynchronizer()->setRate(action.rate, startTime() + *action.time);
    } else {
        renderSynchronizer()->setRate(action.rate);
    }
    rateSettingThread_ = std::thread::id();
}

void MediaPlayer::perform(const PlaybackState::ReportRate& /*action*/) {
    if (isPlaying()) {
        automaticTerminationManager_.disable("Started playing media.");
        idleSleepManager_.preventSleep("Zelvane Player started playing media.");
    } else {
        automaticTerminationManager_.enable("Stopped playing media.");
        idleSleepManager_.allowSleep();
    }
    dispatch::mainQueue()->async([weakSelf = weak_from_this()] {
        const auto self = weakSelf.lock();
        if (const auto controller = self ? self->pictureInPictureController() : nullptr) {
            controller->invalidatePlaybackState();
        }
    });
    post(kRateDidChangeNotification);
}

void MediaPlayer::synchronizerRateDidChange() {
    const float rate = renderSynchronizer()->rate();
    logMessage("{}: Synchronizer rate did change to {:g}.", objectIdentifier("MediaPlayer", this),
               rate);
    if (rateSettingThread_ == std::this_thread::get_id()) {
        return;
    }
    queue_->async([weakSelf = weak_from_this(), rate] {
        if (const auto self = weakSelf.lock()) {
            self->perform(self->state_.clockRateDidChange(rate));
        }
    });
}

void MediaPlayer::audioRendererWasFlushedAutomatically(const Notification& notification) {
    logMessage("{}: Audio renderer was flushed automatically from time {} sec.",
               objectIdentifier("MediaPlayer", this), flushTimeText(notification));
    asyncCalling (&MediaPlayer::reseekToCurrentTime)();
}

void MediaPlayer::pauseSynchronously() {
    queue_->sync([this] {
        // A paused player has nothing to announce: observers take an announcement for a use of it.
        if (isPlaying()) {
            pause();
        }
    });
}

void MediaPlayer::pictureInPictureControllerSetPlaying(bool isPlaying) {
    queue_->sync([&] { isPlaying ? play() : pause(); });
}

bool MediaPlayer::pictureInPictureControllerIsPlaybackPaused() const {
    return queue_->sync([this] { return !isPlaying(); });
}

void MediaPlayer::requestAudioRoutingOwnership(
    const std::shared_ptr<dispatch::Queue>& completionQueue, dispatch::Task completion) {
    if (ownsAudioRouting_.exchange(true)) {
        completionQueue->async(std::move(completion));
        return;
    }
    environment_.audioRouting->requestOwnership(completionQueue, std::move(completion));
}

void makeMediaPlayer(MediaPlayerEnvironment environment,
                     std::shared_ptr<PlayableSource> mediaSource, TrackSelection tracks,
                     std::optional<CMTime> initialTime,
                     std::shared_ptr<dispatch::Queue> completionQueue,
                     std::function<void(std::shared_ptr<MediaPlayer>)> completion) {
    dispatch::mainQueue()->async([environment = std::move(environment),
                                  mediaSource = std::move(mediaSource), tracks = std::move(tracks),
                                  initialTime, completionQueue = std::move(completionQueue),
                                  completion = std::move(completion)] {
        const auto player = MediaPlayer::create(environment, mediaSource);
        const auto finish = [player, completionQueue, completion] {
            player->requestAudioRoutingOwnership(completionQueue,
                                                 [player, completion] { completion(player); });
        };
        if (initialTime) {
            player->selectInitialTracks(tracks, *initialTime, completionQueue, finish);
        } else {
            player->selectInitialTracks(tracks, kCMTimeZero, nullptr, nullptr);
            finish();
        }
    });
}

} // namespace zelvane
