// SPDX-License-Identifier: GPL-3.0-or-later
#include "media_player/media_source/external_subtitles_track.h"

#include <utility>

#include "foundation/log.h"

namespace zelvane {

ExternalSubtitlesTrack::ExternalSubtitlesTrack(
    std::shared_ptr<PlayableSource> externalMediaSource,
    std::shared_ptr<SubtitlesTrack> externalMediaSourceTrack)
    : SubtitlesTrack(externalMediaSourceTrack.get()),
      externalMediaSource_(std::move(externalMediaSource)),
      externalMediaSourceTrack_(std::move(externalMediaSourceTrack)) {
    if (externalMediaSourceTrack_->isExternal()) {
        fatalError("A subtitles track that is external already cannot be made external again.");
    }
    if (externalMediaSourceTrack_->parentVideoTrack()) {
        fatalError("A subtitles track that video carries cannot be made external.");
    }
}

} // namespace zelvane
