// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>
#include <string_view>

#include "media_player/media_source/external_subtitles_track.h"
#include "media_player/playback/pull_driven_provider.h"
#include "media_player/playback/seek_relevance.h"
#include "media_player/playback/subtitles_renderer.h"

namespace zelvane {

/// Feeds the subtitles renderer of one position from a side file. Used on its queue, except for
/// perform().
///
/// A side file counts from the start of the media that it is shown with: where that does not begin
/// at zero, its times are moved to the media's time line.
class ExternalSubtitlesDataProvider final : public PullDrivenProvider {
  public:
    /// `mediaSource` is that of the media that the subtitles are shown with.
    ExternalSubtitlesDataProvider(const std::shared_ptr<PacketSource>& mediaSource,
                                  std::shared_ptr<SubtitlesRenderer> subtitlesRenderer);

    /// A track that is not external stops the process.
    void setSubtitlesTrack(std::shared_ptr<SubtitlesTrack> track);

  private:
    bool hasTrack() const override { return externalTrack_ != nullptr; }
    Feeding provideNext() override;
    void startOver(const CMTime& time) override;

    /// Appends what the next packet decodes to.
    Feeding readNext(SubtitlesFrames& frames) const;
    void decode(const Packet& packet, std::string_view failure, SubtitlesFrames& frames) const;
    void seekTrack(const CMTime& time);
    bool seekSource(const CMTime& time, SubtitlesFrames& frames) const;
    void show(SubtitlesFrames frames) const;

    const std::shared_ptr<SubtitlesRenderer> subtitlesRenderer_;
    const CMTime startTime_;
    std::shared_ptr<SubtitlesTrack> selectedSubtitlesTrack_;
    /// The same track.
    const ExternalSubtitlesTrack* externalTrack_ = nullptr;
};

} // namespace zelvane
