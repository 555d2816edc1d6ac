// SPDX-License-Identifier: GPL-3.0-or-later
#include "media_player/playback/media_player.h"

#include <cassert>
#include <utility>

#include "foundation/log.h"

namespace zelvane {
namespace {

ClockedRenderer<AudioRendering> makeAudioRenderer(const MediaPlayerEnvironment& environment) {
    auto renderer = environment.makeAudioRenderer();
    renderer.rendering->setAudioTimePitchAlgorithm(
        AVAudioTimePitchAlgorithm::AVAudioTimePitchAlgorithmSpectral);
    return renderer;
}

constexpr std::string_view kAudioSpatializationAllowedDidChangeNotification =
    "zelvane.PlaybackPreferences.audioSpatializationAllowedDidChangeNotification";

std::string flushTimeText(const Notification& notification) {
    const auto found = notification.userInfo.find(kAudioRendererFlushTimeKey);
    const auto* time =
        found == notification.userInfo.end() ? nullptr : std::any_cast<CMTime>(&found->second);
    return time != nullptr ? fmt::format("{}", time->seconds()) : "[nil]";
}

} // namespace

std::shared_ptr<MediaPlayer> MediaPlayer::create(MediaPlayerEnvironment environment,
                                                 std::shared_ptr<PacketSource> mediaSource) {
    auto player =
        std::make_shared<MediaPlayer>(Key{}, std::move(environment), std::move(mediaSource));
    player->observe();
    player->observePlatform();
    player->environment_.nowPlaying->registerMediaPlayer(player);
    return player;
}

MediaPlayer::MediaPlayer(Key /*key*/, MediaPlayerEnvironment environment,
                         std::shared_ptr<PacketSource> mediaSource)
    : environment_(std::move(environment)), displayLayer_(environment_.makeDisplayLayer()),
      audioRenderer_(makeAudioRenderer(environment_)),
      renderSynchronizer_(environment_.makeRenderSynchronizer()),
      queue_(dispatch::makeSerialQueue("Media Player Queue",
                                       dispatch::QualityOfService::userInitiated)),
      automaticTerminationManager_(environment_.processInfo),
      idleSleepManager_(environment_.powerManagement), mediaSource_(std::move(mediaSource)),
      timeObserverManager_(renderSynchronizer_, mediaSource_->startTime()) {
    if (!dispatch::mainQueue()->isCurrent()) {
        fatalError("A media player is made on the main queue.");
    }
    renderSynchronizer_->setRate(0, mediaSource_->startTime());
    renderSynchronizer_->addRenderer(displayLayer_.synchronized);
    renderSynchronizer_->addRenderer(audioRenderer_.synchronized);
    makeSubtitles(SubtitlesPosition::primary);
    makeSubtitles(SubtitlesPosition::secondary);
    visualDataProvider_ = std::make_shared<VisualDataProvider>(
        mediaSource_, displayLayer_.rendering, at(SubtitlesPosition::primary).renderer,
        at(SubtitlesPosition::secondary).renderer);
    audioDataProvider_ =
        std::make_shared<AudioDataProvider>(mediaSource_, audioRenderer_.rendering);
    at(SubtitlesPosition::secondary)
        .selectedTrack.shareLock(at(SubtitlesPosition::primary).selectedTrack.lock());
    audioRenderer_.rendering->setAllowedAudioSpatializationFormats(
        kAVAudioSpatializationFormatsAll);
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
    subtitles.setEmbeddedTrack = isPrimary ? &VisualDataProvider::setPrimarySubtitlesTrack
                                           : &VisualDataProvider::setSecondarySubtitlesTrack;
    // Subtitle frames carry times on the file's own time line.
    subtitles.renderer =
        environment_.makeSubtitlesRenderer(renderSynchronizer_, kCMTimeZero, position);
    subtitles.dataProvider =
        environment_.makeExternalSubtitlesDataProvider(mediaSource_, subtitles.renderer);
}

NotificationCenter::Handler MediaPlayer::handlerCalling(Method method) {
    return [weakSelf = weak_from_this(), method](const Notification&) {
        if (const auto self = weakSelf.lock()) {
            (self.get()->*method)();
        }
    };
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
                self->clockDidReachEnd();
            }
        });
    NotificationCenter& center = NotificationCenter::shared();
    notificationObservers_.push_back(center.addObserver(
        std::string(kRenderSynchronizerRateDidChangeNotification), renderSynchronizer_.get(),
        nullptr, handlerCalling(&MediaPlayer::synchronizerRateDidChange)));
    notificationObservers_.push_back(
        center.addObserver(std::string(kAudioRendererWasFlushedAutomaticallyNotification),
                           audioRenderer_.rendering.get(), nullptr,
                           [weakSelf = weak_from_this()](const Notification& notification) {
                               if (const auto self = weakSelf.lock()) {
                                   self->audioRendererWasFlushedAutomatically(notification);
                               }
                           }));
    notificationObservers_.push_back(center.addObserver(
        std::string(kAudioSpatializationAllowedDidChangeNotification), nullptr, nullptr,
        [reseek = asyncCalling(&MediaPlayer::reseekToCurrentTime)](const Notification&) {
            reseek();
        }));
}

void MediaPlayer::observePlatform() {
    userSpecifiedTextStyleObserver_ =
        environment_.observeUserSpecifiedTextStyle(asyncCalling(&MediaPlayer::reseekToCurrentTime));
    for (const std::string_view name :
         {kWorkspaceWillSleepNotification, kWorkspaceSessionDidResignActiveNotification}) {
        notificationObservers_.push_back(environment_.workspaceNotificationCenter->addObserver(
            std::string(name), nullptr, nullptr, handlerCalling(&MediaPlayer::pauseSynchronously)));
    }
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
    return renderSynchronizer_->currentTime() - mediaSource_->startTime();
}

bool MediaPlayer::isSeeking() const {
    return isSeekingInteractively_ || isPerformingSeekOperation_ || isPerformingPostSeekOperation_;
}

float MediaPlayer::rate() const {
    assert(queue_->isCurrent());
    return isSeeking() ? desiredRateAfterSeeking_ : renderSynchronizer_->rate();
}

float MediaPlayer::desiredPlaybackRate() const {
    assert(queue_->isCurrent());
    return desiredPlaybackRate_;
}

void MediaPlayer::setDesiredPlaybackRate(float rate) {
    assert(queue_->isCurrent());
    desiredPlaybackRate_ = rate;
    if (isPlaying()) {
        play();
    }
}

void MediaPlayer::setSynchronizerRate(float rate, std::optional<CMTime> time) {
    assert(queue_->isCurrent());
    logMessage("{}: Setting synchronizer rate to {:g}.", objectIdentifier("MediaPlayer", this),
               rate);
    recentlyChangedSynchronizerRate_ = rate;
    if (time) {
        renderSynchronizer_->setRate(rate, *time);
    } else {
        renderSynchronizer_->setRate(rate);
    }
}

void MediaPlayer::play() {
    assert(queue_->isCurrent());
    if (mediaSource_->duration() > kCMTimeZero) {
        if (!isSeeking() && currentTime() >= mediaSource_->duration()) {
            seekTo(kCMTimeZero);
        }
        if (isSeeking()) {
            desiredRateAfterSeeking_ = desiredPlaybackRate_;
        } else {
            setSynchronizerRate(desiredPlaybackRate_);
        }
    }
    playbackStateDidChange();
}

void MediaPlayer::pause() {
    if (isSeeking()) {
        desiredRateAfterSeeking_ = 0;
    } else {
        setSynchronizerRate(0);
    }
    playbackStateDidChange();
}

void MediaPlayer::togglePlayPause() {
    if (isPlaying()) {
        pause();
    } else {
        play();
    }
}

void MediaPlayer::clockDidReachEnd() {
    // A seek that was asked for in this very moment has moved the clock away from the end.
    if (!isSeeking()) {
        handleEndOfMedia();
    }
}

void MediaPlayer::handleEndOfMedia() {
    setSynchronizerRate(0, mediaSource_->startTime() + mediaSource_->duration());
    pause();
}

void MediaPlayer::playbackStateDidChange() {
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
    logMessage("{}: Synchronizer rate did change to {:g}.", objectIdentifier("MediaPlayer", this),
               renderSynchronizer_->rate());
    asyncCalling (&MediaPlayer::handleSynchronizerRateChange)();
}

void MediaPlayer::handleSynchronizerRateChange() {
    const float rate = renderSynchronizer_->rate();
    if (recentlyChangedSynchronizerRate_ == rate) {
        recentlyChangedSynchronizerRate_.reset();
        return;
    }
    // Two changes of our own that follow each other closely are announced twice after the second:
    // the later echo tells of a clock that stands, as it shall during a seek, and of nobody's wish.
    if (isSeeking() && rate != 0) {
        desiredRateAfterSeeking_ = rate;
        setSynchronizerRate(0);
    }
    playbackStateDidChange();
}

void MediaPlayer::audioRendererWasFlushedAutomatically(const Notification& notification) {
    logMessage("{}: Audio renderer was flushed automatically from time {} sec.",
               objectIdentifier("MediaPlayer", this), flushTimeText(notification));
    asyncCalling (&MediaPlayer::reseekToCurrentTime)();
}

void MediaPlayer::pauseSynchronously() {
    queue_->sync([this] { pause(); });
}

void MediaPlayer::pictureInPictureControllerSetPlaying(bool isPlaying) {
    queue_->sync([&] { isPlaying ? play() : pause(); });
}

bool MediaPlayer::pictureInPictureControllerIsPlaybackPaused() const {
    return queue_->sync([this] { return !isPlaying(); });
}

void MediaPlayer::requestAudioRoutingOwnership(
    const std::shared_ptr<dispatch::Queue>& completionQueue, dispatch::Task completion) {
    ownsAudioRouting_ = true;
    environment_.audioRouting->requestOwnership(completionQueue, std::move(completion));
}

void makeMediaPlayer(MediaPlayerEnvironment environment, std::shared_ptr<PacketSource> mediaSource,
                     TrackSelection tracks, std::optional<CMTime> initialTime,
                     std::shared_ptr<dispatch::Queue> completionQueue,
                     std::function<void(std::shared_ptr<MediaPlayer>)> completion) {
    dispatch::mainQueue()->async([environment = std::move(environment),
                                  mediaSource = std::move(mediaSource), tracks = std::move(tracks),
                                  initialTime, completionQueue = std::move(completionQueue),
                                  completion = std::move(completion)] {
        const auto player = MediaPlayer::create(environment, mediaSource);
        player->setSelectedVideoTrack(tracks.video);
        player->setSelectedAudioTrack(tracks.audio);
        player->setSelectedSubtitlesTrack(SubtitlesPosition::primary, tracks.primarySubtitles);
        player->setSelectedSubtitlesTrack(SubtitlesPosition::secondary, tracks.secondarySubtitles);
        const auto finish = [player, completionQueue, completion] {
            player->requestAudioRoutingOwnership(completionQueue,
                                                 [player, completion] { completion(player); });
        };
        if (initialTime) {
            player->seekSynchronouslyTo(*initialTime, completionQueue, finish);
        } else {
            finish();
        }
    });
}

} // namespace zelvane
