// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>
#include <vector>

#include "media_player/media_source/packet_source.h"

namespace zelvane {

/// A subtitles track of a side file, as the media that it is shown with lists it. It has the facts,
/// the decoder and, at first, the id of the track that it stands for; its packets are read from the
/// side file by that track.
class ExternalSubtitlesTrack final : public SubtitlesTrack {
  public:
    /// A track that is external itself, or is carried by video, stops the process.
    ExternalSubtitlesTrack(std::shared_ptr<PacketSource> externalMediaSource,
                           std::shared_ptr<SubtitlesTrack> externalMediaSourceTrack);

    bool isExternal() const override { return true; }
    /// The side file: alive for as long as the track is.
    const std::shared_ptr<PacketSource>& externalMediaSource() const {
        return externalMediaSource_;
    }
    const std::shared_ptr<SubtitlesTrack>& externalMediaSourceTrack() const {
        return externalMediaSourceTrack_;
    }

  private:
    std::shared_ptr<PacketSource> externalMediaSource_;
    std::shared_ptr<SubtitlesTrack> externalMediaSourceTrack_;
};

using ExternalSubtitlesTracks = std::vector<std::shared_ptr<ExternalSubtitlesTrack>>;

} // namespace zelvane
