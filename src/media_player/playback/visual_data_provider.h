// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <functional>
#include <memory>

#include "media_player/media_source/packet_source.h"
#include "media_player/playback/data_provider.h"
#include "media_player/playback/seek_relevance.h"
#include "media_player/playback/subtitles_renderer.h"

namespace zelvane {

/// Keeps the display layer fed with the selected video track, and the subtitles renderers with the
/// selected tracks of the same file: they share one read position, so one loop reads and routes
/// them all. Used on its queue, which may wait for the main queue; the main queue must never wait
/// for it.
class VisualDataProvider final : public DataProvider {
  public:
    VisualDataProvider(std::shared_ptr<PacketSource> mediaSource,
                       std::shared_ptr<VideoRendering> displayLayer,
                       const std::shared_ptr<SubtitlesRenderer>& primarySubtitlesRenderer,
                       const std::shared_ptr<SubtitlesRenderer>& secondarySubtitlesRenderer);

    void setVideoTrack(std::shared_ptr<VideoTrack> track);
    /// A track of a side file stops the process, here and below.
    void setPrimarySubtitlesTrack(std::shared_ptr<SubtitlesTrack> track);
    void setSecondarySubtitlesTrack(std::shared_ptr<SubtitlesTrack> track);

  private:
    struct SubtitlesPosition {
        std::shared_ptr<SubtitlesRenderer> renderer;
        std::string_view decodeFailure;
        std::shared_ptr<SubtitlesTrack> selectedTrack;
    };
    /// Takes the frames of the position with this index.
    using FramesReceiver = std::function<void(std::size_t position, const SubtitlesFrames& frames)>;

    Feeding provideNext() override;
    Feeding provideNext(const FramesReceiver& receiver);
    void willSeekTracks() override;
    void seekTracks(const CMTime& time) override;

    void setSubtitlesTrack(SubtitlesPosition& position, std::shared_ptr<SubtitlesTrack> track);
    void configureLayer() const;
    SubtitlesTracks selectedSubtitlesTracks() const;
    void route(const PacketSource::TrackPacket& packet, const FramesReceiver& receiver);
    void finish(const FramesReceiver& receiver);
    void decodeUntilRelevant(const PacketSource::CollectedPackets& packets, const CMTime& time,
                             const FramesReceiver& receiver);
    void show(std::size_t position, const SubtitlesFrames& frames) const;

    std::shared_ptr<PacketSource> mediaSource_;
    std::shared_ptr<VideoRendering> displayLayer_;
    std::shared_ptr<VideoTrack> selectedVideoTrack_;
    std::array<SubtitlesPosition, 2> subtitles_;
};

} // namespace zelvane
