// SPDX-License-Identifier: GPL-3.0-or-later
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
    const auto willChange = [&](const std::shared_ptr<SubtitlesTrack>& oldTrack) {
        willChangeSubtitlesTrack(subtitles, oldTrack);
    };
    const auto didChange = [&](const std::shared_ptr<SubtitlesTrack>& newTrack) {
        didChangeSubtitlesTrack(position, newTrack);
    };
    if (subtitles.selectedTrack.compareAndChange(std::move(track), willChange, didChange)) {
        selectionDidChange(hasTrack, subtitles.notification);
    }
}

void MediaPlayer::willChangeSubtitlesTrack(Subtitles& subtitles,
                                           const std::shared_ptr<SubtitlesTrack>& old) {
    if (!old) {
        // Nobody shows anything here. To tell the one that reads along with the video all the same
        // could take from the display what a side file has already shown in its place.
        return;
    }
    if (old->isExternal()) {
        performCancelling(subtitles.dataProvider, [](SubtitlesDataProvider& provider) {
            provider.setSubtitlesTrack(nullptr);
        });
        return;
    }
    const auto setEmbeddedTrack = subtitles.setEmbeddedTrack;
    performCancelling(visualDataProvider_, [setEmbeddedTrack](VisualDataProvider& provider) {
        (provider.*setEmbeddedTrack)(nullptr);
    });
}

void MediaPlayer::didChangeSubtitlesTrack(SubtitlesPosition position,
                                          const std::shared_ptr<SubtitlesTrack>& track) {
    if (!track || !track->isExternal()) {
        performCancelling(visualDataProvider_,
                          [track, setEmbeddedTrack =
                                      at(position).setEmbeddedTrack](VisualDataProvider& provider) {
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
    performCancelling(at(position).dataProvider, [track](SubtitlesDataProvider& provider) {
        provider.setSubtitlesTrack(track);
    });
}

} // namespace zelvane
