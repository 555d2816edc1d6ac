// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <memory>

#include "media_player/playback/data_provider.h"
#include "media_player/playback/recent_frames.h"
#include "media_player/playback/recent_subtitles.h"
#include "media_player/playback/search_progress.h"
#include "media_player/playback/subtitles_renderer.h"
#include "media_player/playback/visual_reader.h"
#include "media_player/playback/visual_search.h"

namespace zelvane {

/// Feeds the display layer from the selected video track, and the subtitles renderers from the
/// selected tracks of the same file. Used on its queue, which may wait for the main queue; the main
/// queue must never wait for it.
///
/// A seek uses the recent frames if they contain the target. It decodes on if the target is shortly
/// after them, or no key frame is in between. Otherwise it reads the file from a key frame.
class VisualDataProvider final : public DataProvider {
  public:
    VisualDataProvider(std::shared_ptr<PacketSource> mediaSource,
                       std::shared_ptr<VideoRendering> displayLayer,
                       std::shared_ptr<SubtitlesRenderer> primarySubtitlesRenderer,
                       std::shared_ptr<SubtitlesRenderer> secondarySubtitlesRenderer);

    void setVideoTrack(std::shared_ptr<VideoTrack> track);
    /// A track of a side file stops the process.
    void setSubtitlesTrack(SubtitlesPosition position, std::shared_ptr<SubtitlesTrack> track);
    /// The next seek reads and decodes from scratch.
    void forgetRecent();
    /// While the user scrubs, a long search shows pictures of its progress. Any thread.
    void setIsScrubbing(bool isScrubbing) { progress_.setIsScrubbing(isScrubbing); }

  private:
    struct SubtitlesDisplay {
        std::shared_ptr<SubtitlesRenderer> renderer;
        /// Decoded since the last seek that read the file, without what no seek within the recent
        /// frames shows.
        RecentSubtitles recent = {};
    };

    Feeding provideNext() override;
    bool seekAmongRecent(const CMTime& time) override;
    void willSeekTracks() override;
    void seekTracks(const CMTime& time) override;
    void didDecode(const CMSampleBufferRef& sampleBuffer) override { recent_.add(sampleBuffer); }

    void configureLayer() const;
    SubtitlesDisplay& display(SubtitlesPosition position);

    bool enqueueRecent(const CMTime& time);
    bool continueDecodingTo(const CMTime& time);
    bool decodeFrom(const CMTime& begin, const CMTime& time);
    VisualSearch makeSearch(const CMTime& time, bool takesLater);
    void run(VisualSearch& search, const PacketSource::CollectedPackets& packets);
    std::size_t framesToKeepBefore(const CMTime& time) const;

    void removeShownSubtitles();
    void keepForSeeking(SubtitlesPosition position, const SubtitlesFrames& frames,
                        const CMTime& target);
    void keepInPlayback(SubtitlesPosition position, const SubtitlesFrames& frames);
    void showRecentSubtitles(const CMTime& time) const;

    VisualReader reader_;
    std::shared_ptr<VideoRendering> displayLayer_;
    /// By position.
    std::array<SubtitlesDisplay, 2> subtitles_;
    RecentFrames recent_;
    /// Whether the recent subtitles include all that were read since a seek.
    bool areRecentSubtitlesWhole_ = false;
    /// Of the last seek.
    CMTime lastTarget_ = kCMTimeInvalid;
    SearchProgress progress_;
};

} // namespace zelvane
