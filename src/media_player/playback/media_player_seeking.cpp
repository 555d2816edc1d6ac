// SPDX-License-Identifier: GPL-3.0-or-later
#include <cassert>
#include <utility>

#include "foundation/log.h"
#include "media_player/playback/media_player.h"

namespace zelvane {

void MediaPlayer::seekTo(const CMTime& time, std::shared_ptr<dispatch::Queue> completionQueue,
                         dispatch::Task completion) {
    assert(queue_->isCurrent());
    if (mediaSource_->duration() < kCMTimeZero) {
        fatalError("Media of a negative duration cannot be sought in.");
    }
    const CMTime target = clampedSeekTarget(time, mediaSource_->duration());
    if (!isSeeking()) {
        desiredRateAfterSeeking_ = renderSynchronizer_->rate();
    }
    setSynchronizerRate(0, mediaSource_->startTime() + target);
    std::optional<SeekOperation::CompletionHandlerInfo> handler;
    if (completion) {
        handler = {std::move(completionQueue), std::move(completion)};
    }
    nextSeekOperation_ = foldedSeekOperation(std::exchange(nextSeekOperation_, std::nullopt),
                                             target, std::move(handler));
    if (!isPerformingSeekOperation_ && !isPerformingPostSeekOperation_) {
        performNextSeekOperation();
    }
}

void MediaPlayer::seekBy(const SeekUnits& units) {
    constexpr std::int32_t kPreferredTimescale = 1000;
    if (const auto* seconds = std::get_if<Seconds>(&units)) {
        seekTo(CMTime::fromSeconds(currentTime().seconds() + seconds->count, kPreferredTimescale));
        return;
    }
    const auto track = selectedVideoTrack();
    seekTo(currentTime() +
           frameStep(track ? track->frameRate() : std::nullopt, std::get<Frames>(units).count));
}

void MediaPlayer::seekSynchronouslyTo(const CMTime& time,
                                      const std::shared_ptr<dispatch::Queue>& completionQueue,
                                      const dispatch::Task& completion) {
    queue_->sync([&] { seekTo(time, completionQueue, completion); });
}

void MediaPlayer::reseekToCurrentTime() {
    // Whoever asks has changed what is read, or how it looks.
    visualDataProvider_->perform(false,
                                 [provider = visualDataProvider_] { provider->forgetRecent(); });
    seekTo(currentTime());
}

void MediaPlayer::beginInteractiveSeeking() {
    assert(queue_->isCurrent());
    if (!isSeeking()) {
        desiredRateAfterSeeking_ = renderSynchronizer_->rate();
    }
    setSynchronizerRate(0);
    isSeekingInteractively_ = true;
    visualDataProvider_->setIsScrubbing(true);
}

void MediaPlayer::endInteractiveSeeking() {
    assert(queue_->isCurrent());
    isSeekingInteractively_ = false;
    visualDataProvider_->setIsScrubbing(false);
    if (!isPerformingSeekOperation_ && !isPerformingPostSeekOperation_) {
        beginPostSeekOperation();
    }
}

void MediaPlayer::performNextSeekOperation() {
    assert(queue_->isCurrent());
    if (!nextSeekOperation_) {
        isPerformingSeekOperation_ = false;
        if (!isSeekingInteractively_ && !isPerformingPostSeekOperation_) {
            beginPostSeekOperation();
        }
        return;
    }
    isPerformingSeekOperation_ = true;
    SeekOperation operation = *std::exchange(nextSeekOperation_, std::nullopt);
    const CMTime target = mediaSource_->startTime() + operation.targetTime;
    const dispatch::Group group;
    seekProvider(visualDataProvider_, target, group);
    seekProvider(audioDataProvider_, target, group);
    for (const Subtitles& subtitles : subtitles_) {
        seekProvider(subtitles.dataProvider, target, group);
    }
    group.notify(queue_,
                 [weakSelf = weak_from_this(), handlers = std::move(operation.completionHandlers)] {
                     if (const auto self = weakSelf.lock()) {
                         self->finishSeekOperation(handlers);
                     }
                 });
}

void MediaPlayer::seekProvider(const std::shared_ptr<DataProviding>& provider, const CMTime& time,
                               const dispatch::Group& group) {
    group.enter();
    provider->perform(true, [weakProvider = std::weak_ptr(provider), time, group, queue = queue_] {
        if (const auto strongProvider = weakProvider.lock()) {
            strongProvider->seek(time, false, queue, [group] { group.leave(); });
        }
    });
}

void MediaPlayer::finishSeekOperation(
    const std::vector<SeekOperation::CompletionHandlerInfo>& handlers) {
    for (const auto& [queue, handler] : handlers) {
        queue->async(handler);
    }
    post(kDidSeekNotification);
    performNextSeekOperation();
}

void MediaPlayer::beginPostSeekOperation() {
    isPerformingPostSeekOperation_ = true;
    performPostSeekOperation();
}

void MediaPlayer::performPostSeekOperation() {
    isPerformingPostSeekOperation_ = false;
    if (isSeekingInteractively_ || isPerformingSeekOperation_) {
        performNextSeekOperation();
    } else if (currentTime() < mediaSource_->duration()) {
        setSynchronizerRate(desiredRateAfterSeeking_);
    } else {
        handleEndOfMedia();
    }
}

} // namespace zelvane
