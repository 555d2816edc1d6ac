// SPDX-License-Identifier: GPL-3.0-or-later
#include <cstddef>
#include <utility>

#include "media_player/playback/media_player.h"

namespace zelvane {
namespace {

/// Work for a provider on its queue, in place of what it is doing, while it lives.
template <class Provider, class Work>
void performCancelling(const std::shared_ptr<Provider>& provider, Work work) {
    provider->perform(true, [weakProvider = std::weak_ptr(provider), work = std::move(work)] {
        if (const auto strongProvider = weakProvider.lock()) {
            work(*strongProvider);
        }
    });
}

constexpr auto kNothing = [](const auto&) {};

/// Keeps `group` entered until the task that holds this is destroyed, whether it ran or not.
std::shared_ptr<void> membership(const dispatch::Group& group) {
    group.enter();
    return {nullptr, [group](std::nullptr_t) { group.leave(); }};
}

} // namespace

void MediaPlayer::selectionDidChange(bool hasTrack, std::string_view notification) {
    if (hasTrack && !isSelectingInitialTracks_) {
        queue_->sync([this] { reseekToCurrentTime(); });
    }
    post(notification);
}

void MediaPlayer::selectInitialTracks(const TrackSelection& tracks, const CMTime& time,
                                      const std::shared_ptr<dispatch::Queue>& completionQueue,
                                      const dispatch::Task& completion) {
    // The providers begin when the seek is in their queues: else they decode the first samples
    // twice.
    const dispatch::Group seekIsQueued;
    const auto member = membership(seekIsQueued);
    const auto waitForSeek = [seekIsQueued] { seekIsQueued.wait(); };
    visualDataProvider_->perform(false, waitForSeek);
    audioDataProvider_->perform(false, waitForSeek);
    isSelectingInitialTracks_ = true;
    setSelectedVideoTrack(tracks.video);
    setSelectedAudioTrack(tracks.audio);
    setSelectedSubtitlesTrack(SubtitlesPosition::primary, tracks.primarySubtitles);
    setSelectedSubtitlesTrack(SubtitlesPosition::secondary, tracks.secondarySubtitles);
    isSelectingInitialTracks_ = false;
    seekSynchronouslyTo(time, completionQueue, completion);
}

void MediaPlayer::setSelectedVideoTrack(std::shared_ptr<VideoTrack> track) {
    const bool hasTrack = track != nullptr;
    const auto didChange = [this](const std::shared_ptr<VideoTrack>& newTrack) {
        performCancelling(visualDataProvider_, [newTrack](VisualDataProvider& provider) {
            provider.setVideoTrack(newTrack);
        });
        if (newTrack) {
            for (const Subtitles& subtitles : subtitles_) {
                subtitles.renderer->setVideoDimensions(newTrack->dimensions());
            }
        }
        audioRenderer()->setAllowedAudioSpatializationFormats(kAVAudioSpatializationFormatsAll);
    };
    if (selectedVideoTrack_.compareAndChange(std::move(track), kNothing, didChange)) {
        selectionDidChange(hasTrack, kSelectedVideoTrackDidChangeNotification);
    }
}

void MediaPlayer::setSelectedAudioTrack(std::shared_ptr<AudioTrack> track) {
    const bool hasTrack = track != nullptr;
    const auto didChange = [this](const std::shared_ptr<AudioTrack>& newTrack) {
        performCancelling(audioDataProvider_, [newTrack](AudioDataProvider& provider) {
            provider.setAudioTrack(newTrack);
        });
    };
    if (selectedAudioTrack_.compareAndChange(std::move(track), kNothing, didChange)) {
        selectionDidChange(hasTrack, kSelectedAudioTrackDidChangeNotification);
    }
}

void MediaPlayer::setSelectedSubtitlesTrack(SubtitlesPosition position,
                                            std::shared_ptr<SubtitlesTrack> track,
                                            const dispatch::Task& didTakeOver) {
    const bool hasTrack = track != nullptr;
    Subtitles& subtitles = at(position);
    const auto willChange = [&](const std::shared_ptr<SubtitlesTrack>& oldTrack) {
        willChangeSubtitlesTrack(position, oldTrack);
    };
    const auto didChange = [&](const std::shared_ptr<SubtitlesTrack>& newTrack) {
        didChangeSubtitlesTrack(position, newTrack, didTakeOver);
    };
    if (subtitles.selectedTrack.compareAndChange(std::move(track), willChange, didChange)) {
        selectionDidChange(hasTrack, subtitles.notification);
    }
}

void MediaPlayer::willChangeSubtitlesTrack(SubtitlesPosition position,
                                           const std::shared_ptr<SubtitlesTrack>& old) {
    Subtitles& subtitles = at(position);
    subtitles.leaving = dispatch::Group();
    const auto member = membership(subtitles.leaving);
    if (old && old->isExternal()) {
        performCancelling(subtitles.dataProvider,
                          [member](ExternalSubtitlesDataProvider& provider) {
                              provider.setSubtitlesTrack(nullptr);
                          });
        return;
    }
    performCancelling(visualDataProvider_, [member, position](VisualDataProvider& provider) {
        provider.setSubtitlesTrack(position, nullptr);
    });
}

/// Two providers may share a renderer, or a side file's decoder, each on its own queue: the new one
/// waits until those of both positions have given up what they had. Each task waits only for tasks
/// that were queued before it under the same lock, so that no cycle can form.
void MediaPlayer::didChangeSubtitlesTrack(SubtitlesPosition position,
                                          const std::shared_ptr<SubtitlesTrack>& track,
                                          const dispatch::Task& didTakeOver) {
    const auto waitForOthers = [own = at(position).leaving,
                                other = at(otherPosition(position)).leaving] {
        own.wait();
        other.wait();
    };
    if (!track || !track->isExternal()) {
        performCancelling(visualDataProvider_,
                          [track, position, waitForOthers](VisualDataProvider& provider) {
                              waitForOthers();
                              provider.setSubtitlesTrack(position, track);
                          });
        return;
    }
    if (at(otherPosition(position)).selectedTrack.load() == track) {
        // A side file that moves leaves its old position, and is loaded when it is selected again.
        setSelectedSubtitlesTrack(otherPosition(position), nullptr);
        return;
    }
    performCancelling(at(position).dataProvider, [track, waitForOthers, didTakeOver](
                                                     ExternalSubtitlesDataProvider& provider) {
        waitForOthers();
        provider.setSubtitlesTrack(track);
        if (didTakeOver) {
            dispatch::globalQueue(dispatch::QualityOfService::userInteractive)->async(didTakeOver);
        }
    });
}

} // namespace zelvane
