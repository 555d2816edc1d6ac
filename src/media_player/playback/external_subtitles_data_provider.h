// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <atomic>
#include <memory>
#include <vector>

#include "foundation/atomic.h"
#include "media_player/media_source/external_subtitles_track.h"
#include "media_player/playback/data_providing.h"
#include "media_player/playback/seek_relevance.h"
#include "media_player/playback/subtitles_renderer.h"

namespace zelvane {

/// Keeps the subtitles renderer of one position fed from a side file. Used on its queue, but for
/// perform().
///
///                       the renderer has few frames left
///     idle -- track --> asleep ----------------------------> reading --+
///      ^                  ^                                   |   |    | a packet
///      |                  +-----------------------------------+   +<---+
///      |                    enough are held or under way          |
///      +----------------------------------------------------------+
///        the file has ended, or failed; a seek wakes it again
///
/// A side file counts from the start of the media that it is shown with: where that does not begin
/// at zero, its times are moved to the media's time line.
class ExternalSubtitlesDataProvider final
    : public SubtitlesDataProvider,
      public std::enable_shared_from_this<ExternalSubtitlesDataProvider> {
  public:
    /// The source is that of the media that the subtitles are shown with.
    ExternalSubtitlesDataProvider(const std::shared_ptr<PacketSource>& mediaSource,
                                  std::shared_ptr<SubtitlesRenderer> subtitlesRenderer);
    ~ExternalSubtitlesDataProvider() override;
    ExternalSubtitlesDataProvider(const ExternalSubtitlesDataProvider&) = delete;
    ExternalSubtitlesDataProvider& operator=(const ExternalSubtitlesDataProvider&) = delete;

    void perform(bool cancelling, dispatch::Task task) override;
    /// A track that is not external stops the process.
    void setSubtitlesTrack(const std::shared_ptr<SubtitlesTrack>& track) override;
    void setSubtitlesTrack(const std::shared_ptr<SubtitlesTrack>& track,
                           const std::shared_ptr<dispatch::Queue>& completionQueue,
                           dispatch::Task completion);
    void seek(const CMTime& time, bool shouldProvideData,
              const std::shared_ptr<dispatch::Queue>& completionQueue,
              dispatch::Task completion) override;

  private:
    /// What is read of a file in one step.
    struct Provided {
        SubtitlesFrames frames;
        bool isOver = false;
    };

    void startAsking();
    void stopAsking();
    void provideData();
    void provideDataOnceFramesArrive();
    Provided provideNext();
    Provided drain() const;
    SubtitlesFrames decode(const Packet& packet) const;
    void seekTrack(const CMTime& time);
    bool seekSource(const CMTime& time, SubtitlesFrames& frames) const;
    void collectFrames(SubtitlesFrames frames, const CMTime& time);
    void show(SubtitlesFrameRef frame) const;

    std::shared_ptr<SubtitlesRenderer> subtitlesRenderer_;
    const CMTime startTime_;
    std::shared_ptr<dispatch::Queue> queue_;
    Atomic<bool> shouldCancelProvideFunction_{false};
    std::shared_ptr<ExternalSubtitlesTrack> selectedSubtitlesTrack_;
    bool isAsking_ = false;
    /// Frames on their way through the main queue, which the renderer does not count yet.
    std::shared_ptr<std::atomic<int>> framesUnderWay_ = std::make_shared<std::atomic<int>>(0);
};

} // namespace zelvane
