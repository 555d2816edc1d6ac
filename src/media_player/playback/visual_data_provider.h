// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <atomic>
#include <functional>
#include <memory>

#include "foundation/host_clock.h"
#include "media_player/media_source/packet_source.h"
#include "media_player/playback/data_provider.h"
#include "media_player/playback/recent_frames.h"
#include "media_player/playback/seek_answer.h"
#include "media_player/playback/seek_relevance.h"
#include "media_player/playback/subtitles_renderer.h"

namespace zelvane {

/// Keeps the display layer fed with the selected video track, and the subtitles renderers with the
/// selected tracks of the same file: they share one read position, so one loop reads and routes
/// them all. Used on its queue, which may wait for the main queue; the main queue must never wait
/// for it.
///
/// A seek is answered by the recent frames where they hold its target, by decoding on where it lies
/// shortly behind them or no key frame lies between, and else by the file.
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
    /// The next seek reads and decodes everything anew.
    void forgetRecent();
    /// While a person drags, a search that takes its time shows where it has come to. Any thread.
    void setIsScrubbing(bool isScrubbing) { isScrubbing_ = isScrubbing; }

  private:
    struct SubtitlesPosition {
        std::shared_ptr<SubtitlesRenderer> renderer;
        std::string_view decodeFailure;
        std::shared_ptr<SubtitlesTrack> selectedTrack;
        /// What was decoded since the last seek that read the file, but for what can no longer be
        /// seen within the recent frames.
        SubtitlesFrames recent;
    };
    /// Takes the frames of the position with this index.
    using FramesReceiver = std::function<void(std::size_t position, const SubtitlesFrames& frames)>;

    Feeding provideNext() override;
    Feeding provideNext(const FramesReceiver& receiver);
    bool seekAmongRecent(const CMTime& time) override;
    void willSeekTracks() override;
    void seekTracks(const CMTime& time) override;
    void didDecode(const CMSampleBufferRef& sampleBuffer) override { recent_.add(sampleBuffer); }

    void setSubtitlesTrack(SubtitlesPosition& position, std::shared_ptr<SubtitlesTrack> track);
    void configureLayer() const;
    SubtitlesTracks selectedSubtitlesTracks() const;
    void route(const PacketSource::TrackPacket& packet, const FramesReceiver& receiver);
    void finish(const FramesReceiver& receiver);
    void show(std::size_t position, const SubtitlesFrames& frames) const;

    bool enqueueRecent(const CMTime& time);
    bool decodeOn(const CMTime& time);
    /// Has the picture of `time` come out of a decoder that starts at `begin`? True also where an
    /// earlier start would not help.
    bool decodeFrom(const CMTime& begin, const CMTime& time);
    /// What lies between two times, where no key frame does.
    std::optional<PacketSource::CollectedPackets> readOn(const CMTime& from,
                                                         const CMTime& time) const;
    std::optional<PacketSource::CollectedPackets> collectPackets(const CMTime& time) const;
    SeekAnswer makeAnswer(const CMTime& time, bool takesLater);
    void showAlone(const CMSampleBufferRef& picture);
    bool isProgressDue() const;
    std::size_t framesToKeepBefore(const CMTime& time) const;
    void decodeUntilAnswered(const PacketSource::CollectedPackets& packets, SeekAnswer& answer);
    void finishSearch(SeekAnswer& answer);
    void keepForSeeking(std::size_t position, const SubtitlesFrames& frames);
    void forgetUnreachableSubtitles();
    void showRecentSubtitles(const CMTime& time) const;

    std::shared_ptr<PacketSource> mediaSource_;
    std::shared_ptr<VideoRendering> displayLayer_;
    std::shared_ptr<VideoTrack> selectedVideoTrack_;
    std::array<SubtitlesPosition, 2> subtitles_;
    RecentFrames recent_;
    /// Whether the recent subtitles are all that were read since a seek.
    bool areRecentSubtitlesWhole_ = false;
    /// Of the last seek.
    CMTime lastTarget_ = kCMTimeInvalid;
    std::atomic<bool> isScrubbing_{false};
    /// When a search last showed a picture that is not its answer, or its answer.
    HostTime progressShownAt_{0};
    bool isProgressShown_ = false;
};

} // namespace zelvane
