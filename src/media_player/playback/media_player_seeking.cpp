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
        fatalError("A seek in media of a negative duration is impossible.");
    }
    std::optional<SeekOperation::CompletionHandlerInfo> handler;
    if (completion) {
        handler = {completionQueue ? std::move(completionQueue) : dispatch::mainQueue(),
                   std::move(completion)};
    }
    perform(state_.seek(time, std::move(handler), clock()));
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
    // What is read, or how it looks, has changed.
    visualDataProvider_->perform(false,
                                 [provider = visualDataProvider_] { provider->forgetRecent(); });
    seekTo(currentTime());
}

void MediaPlayer::beginInteractiveSeeking() {
    perform(state_.beginInteractiveSeeking(clock()));
    visualDataProvider_->setIsScrubbing(true);
}

void MediaPlayer::endInteractiveSeeking() {
    visualDataProvider_->setIsScrubbing(false);
    perform(state_.endInteractiveSeeking(clock()));
}

bool MediaPlayer::isSeekingInteractively() const {
    assert(queue_->isCurrent());
    return state_.isSeekingInteractively();
}

void MediaPlayer::perform(const PlaybackState::StartSeek& action) {
    const CMTime target = startTime() + action.operation.targetTime;
    const dispatch::Group group;
    seekProvider(visualDataProvider_, target, group);
    seekProvider(audioDataProvider_, target, group);
    for (const Subtitles& subtitles : subtitles_) {
        seekProvider(subtitles.dataProvider, target, group);
    }
    group.notify(queue_,
                 [weakSelf = weak_from_this(), handlers = action.operation.completionHandlers] {
                     if (const auto self = weakSelf.lock()) {
                         self->finishSeekOperation(handlers);
                     }
                 });
}

void MediaPlayer::seekProvider(const std::shared_ptr<PullDrivenProvider>& provider,
                               const CMTime& time, const dispatch::Group& group) {
    group.enter();
    provider->perform(true, [weakProvider = std::weak_ptr(provider), time, group, queue = queue_] {
        if (const auto strongProvider = weakProvider.lock()) {
            strongProvider->seek(time, queue, [group] { group.leave(); });
        }
    });
}

void MediaPlayer::finishSeekOperation(
    const std::vector<SeekOperation::CompletionHandlerInfo>& handlers) {
    for (const auto& [queue, handler] : handlers) {
        queue->async(handler);
    }
    post(kDidSeekNotification);
    perform(state_.providersDidSeek(clock()));
}

} // namespace zelvane
