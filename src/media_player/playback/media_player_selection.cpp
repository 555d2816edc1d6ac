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

/// Keeps `group` entered until the work that holds this is gone, whether it ran or not.
std::shared_ptr<void> membership(const dispatch::Group& group) {
    group.enter();
    return {nullptr, [group](std::nullptr_t) { group.leave(); }};
}

SubtitlesPosition otherPosition(SubtitlesPosition position) {
    return position == SubtitlesPosition::primary ? SubtitlesPosition::secondary
                                                  : SubtitlesPosition::primary;
}

} // namespace

void MediaPlayer::selectionDidChange(bool hasTrack, std::string_view notification) {
    if (hasTrack) {
        queue_->sync([this] { reseekToCurrentTime(); });
    }
    post(notification);
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
        audioRenderer_.rendering->setAllowedAudioSpatializationFormats(
            kAVAudioSpatializationFormatsAll);
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
                                            std::shared_ptr<SubtitlesTrack> track) {
    const bool hasTrack = track != nullptr;
    Subtitles& subtitles = at(position);
    // Two providers may share a renderer, each on a queue of its own. The one that goes has to be
    // done before the other begins, or it clears what the other has shown. Work waits only for work
    // that was handed to its queue earlier, so no circle can form.
    const dispatch::Group leaving;
    const auto willChange = [&](const std::shared_ptr<SubtitlesTrack>& oldTrack) {
        willChangeSubtitlesTrack(subtitles, oldTrack, leaving);
    };
    const auto didChange = [&](const std::shared_ptr<SubtitlesTrack>& newTrack) {
        didChangeSubtitlesTrack(position, newTrack, leaving);
    };
    if (subtitles.selectedTrack.compareAndChange(std::move(track), willChange, didChange)) {
        selectionDidChange(hasTrack, subtitles.notification);
    }
}

void MediaPlayer::willChangeSubtitlesTrack(Subtitles& subtitles,
                                           const std::shared_ptr<SubtitlesTrack>& old,
                                           const dispatch::Group& leaving) {
    const auto member = membership(leaving);
    if (old && old->isExternal()) {
        performCancelling(subtitles.dataProvider, [member](SubtitlesDataProvider& provider) {
            provider.setSubtitlesTrack(nullptr);
        });
        return;
    }
    const auto setEmbeddedTrack = subtitles.setEmbeddedTrack;
    performCancelling(visualDataProvider_,
                      [member, setEmbeddedTrack](VisualDataProvider& provider) {
                          (provider.*setEmbeddedTrack)(nullptr);
                      });
}

void MediaPlayer::didChangeSubtitlesTrack(SubtitlesPosition position,
                                          const std::shared_ptr<SubtitlesTrack>& track,
                                          const dispatch::Group& leaving) {
    if (!track || !track->isExternal()) {
        const auto setEmbeddedTrack = at(position).setEmbeddedTrack;
        performCancelling(visualDataProvider_,
                          [track, setEmbeddedTrack, leaving](VisualDataProvider& provider) {
                              leaving.wait();
                              (provider.*setEmbeddedTrack)(track);
                          });
        return;
    }
    const SubtitlesPosition other = otherPosition(position);
    if (at(other).selectedTrack.load() == track) {
        // A side file that moves leaves its old place, and is loaded when it is chosen once more.
        setSelectedSubtitlesTrack(other, nullptr);
        return;
    }
    performCancelling(at(position).dataProvider, [track, leaving](SubtitlesDataProvider& provider) {
        leaving.wait();
        provider.setSubtitlesTrack(track);
    });
}

} // namespace zelvane
