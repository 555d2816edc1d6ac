// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>

#include "media_player/media_source/playable_source.h"

namespace zelvane {

/// A subtitles track of a side file, as listed by the source that the file is attached to. It has
/// the facts, the decoder and, at first, the id of the track that it wraps. Its packets are read
/// from the side file by that track.
class ExternalSubtitlesTrack final : public SubtitlesTrack {
  public:
    /// Stops the process for a track that is external itself, or is carried by video.
    ExternalSubtitlesTrack(std::shared_ptr<PlayableSource> externalMediaSource,
                           std::shared_ptr<SubtitlesTrack> externalMediaSourceTrack);

    const ExternalSubtitlesTrack* asExternal() const override { return this; }
    /// The side file: alive for as long as the track is.
    const std::shared_ptr<PlayableSource>& externalMediaSource() const {
        return externalMediaSource_;
    }
    const std::shared_ptr<SubtitlesTrack>& externalMediaSourceTrack() const {
        return externalMediaSourceTrack_;
    }

  private:
    std::shared_ptr<PlayableSource> externalMediaSource_;
    std::shared_ptr<SubtitlesTrack> externalMediaSourceTrack_;
};

} // namespace zelvane
