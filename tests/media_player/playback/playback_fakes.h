// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "foundation/notification_center.h"
#include "media_player/media_source/packet_source.h"
#include "media_player/playback/media_player.h"
#include "rendering/queued_sample_buffer_rendering.h"
#include "rendering/render_synchronizer.h"

namespace zelvane::test {

/// Milliseconds; everything in these tests is told in them.
constexpr CMTime ms(std::int64_t milliseconds) {
    return {milliseconds, 1000};
}
std::int64_t inMilliseconds(const CMTime& time);

/// Of sound.
CMSampleBufferRef makeSampleBuffer(const CMTime& start, const CMTime& duration);
/// Of a small picture.
CMSampleBufferRef makePicture(const CMTime& start, const CMTime& duration);

/// One packet of a time line.
struct TimelinePacket {
    std::int64_t start = 0;
    std::int64_t duration = 0;
    bool isKey = false;
    bool isCorrupt = false;
    /// 'm' for the main stream, 'p' and 's' for the subtitles of the two positions.
    char stream = 'm';
};

/// Reads a time line, packets in file order: "0k 40 80! p60+100". A number is a packet of the main
/// stream that begins there and lasts as long as `frameDuration`, or as long as "+" says; "k" makes
/// it a key packet, "!" one that does not decode; "p" and "s" before it, one of the subtitles.
std::vector<TimelinePacket> timeline(std::string_view text, std::int64_t frameDuration = 40);

/// Makes a buffer of each packet's time, and holds back `delay` of them, as codecs do.
class FakeDecoder final : public CoreMediaCompatibleDecoder {
  public:
    explicit FakeDecoder(std::size_t delay = 0) : delay_(delay) {}
    bool startDecoding(const Packet& packet) override;
    CMSampleBufferRef dequeueSampleBuffer() override;
    void flush() override;

  private:
    const std::size_t delay_;
    std::deque<CMSampleBufferRef> held_;
    bool isDraining_ = false;
};

/// Makes a frame of each packet's time; an empty packet gives the one that is held back, if any.
class FakeSubtitlesDecoder final : public SubtitlesFrameDecoder {
  public:
    std::vector<SubtitlesFrameRef> decode(const Packet& packet) override;
    void flush() override { held_.clear(); }
    /// Frames that only the end of the stream brings out; `failsAtEnd` has it throw instead.
    std::vector<SubtitlesFrameRef> held_;
    bool failsAtEnd = false;
};

/// The four tracks of a fake source.
struct FakeTracks {
    /// At 25 frames a second unless `frameRate` says otherwise.
    explicit FakeTracks(std::size_t videoDelay = 0, std::size_t audioDelay = 0,
                        std::optional<AVRational> frameRate = AVRational{25, 1});
    std::shared_ptr<VideoTrack> video;
    std::shared_ptr<AudioTrack> audio;
    std::shared_ptr<SubtitlesTrack> primary;
    std::shared_ptr<SubtitlesTrack> secondary;
    FakeSubtitlesDecoder* primaryDecoder = nullptr;
    FakeSubtitlesDecoder* secondaryDecoder = nullptr;
};

/// A file of two time lines.
class FakePacketSource final : public PacketSource {
  public:
    FakePacketSource(FakeTracks tracks, std::string_view visual, std::string_view audio,
                     CMTime startTime, CMTime duration);

    CMTime startTime() const override { return startTime_; }
    CMTime duration() const override { return duration_; }
    const std::shared_ptr<dispatch::Queue>& visualTracksQueue() const override {
        return visualQueue_;
    }
    const std::shared_ptr<dispatch::Queue>& audioTracksQueue() const override {
        return audioQueue_;
    }
    PacketRef readAudioPacket(const std::shared_ptr<AudioTrack>& track) override;
    std::optional<TrackPacket> readVisualPacket(const std::shared_ptr<VideoTrack>& videoTrack,
                                                const SubtitlesTracks& subtitlesTracks) override;
    std::vector<PacketRef> seekAudio(const std::shared_ptr<AudioTrack>& track,
                                     const CMTime& time) override;
    CollectedPackets seekVisual(const std::shared_ptr<VideoTrack>& videoTrack,
                                const SubtitlesTracks& subtitlesTracks,
                                const CMTime& time) override;

    /// While closed, seeks wait inside the source.
    void closeSeekGate();
    void openSeekGate();
    /// Returns once a seek waits there.
    void waitForSeekAtGate();

    /// The targets of all audio seeks so far, in milliseconds.
    std::vector<std::int64_t> audioSeekTargets() const;

    std::atomic<bool> failsReads{false};
    std::atomic<bool> failsSeeks{false};
    /// Called by each audio read with the count of them, on the reading thread.
    std::function<void(int count)> onAudioRead;

  private:
    struct Stream {
        std::vector<TimelinePacket> packets;
        std::size_t position = 0;
    };
    std::shared_ptr<MediaTrack> trackOf(const TimelinePacket& packet) const;
    /// Moves the stream past the first main packet at or after `time`, and returns what lies
    /// between there and the key packet before it.
    static std::vector<TimelinePacket> collect(Stream& stream, std::int64_t time);
    void passGate();

    const FakeTracks tracks_;
    const CMTime startTime_;
    const CMTime duration_;
    const std::shared_ptr<dispatch::Queue> visualQueue_ = dispatch::makeSerialQueue("visual");
    const std::shared_ptr<dispatch::Queue> audioQueue_ = dispatch::makeSerialQueue("audio");
    Stream visual_;
    Stream audio_;
    int audioReads_ = 0;
    mutable std::mutex mutex_;
    std::condition_variable gateChanged_;
    bool isGateClosed_ = false;
    int waitingAtGate_ = 0;
    std::vector<std::int64_t> audioSeekTargets_;
};

/// Takes buffers up to a limit, remembers them and what it was told, in order.
class FakeRenderer final : public VideoRendering,
                           public AudioRendering,
                           public SynchronizedRenderer,
                           public std::enable_shared_from_this<FakeRenderer> {
  public:
    explicit FakeRenderer(std::size_t capacity = 100'000) : capacity_(capacity) {}

    void enqueueSampleBuffer(CMSampleBufferRef sampleBuffer) override;
    bool isReadyForMoreMediaData() const override;
    void requestMediaDataWhenReady(std::shared_ptr<dispatch::Queue> queue,
                                   dispatch::Task block) override;
    void stopRequestingMediaData() override;
    void flush() override { forget("flush"); }
    void flushAndRemoveImage() override { forget("flushAndRemoveImage"); }
    void setBounds(const CGRect& bounds) override;
    void setAffineTransform(const CGAffineTransform& transform) override;
    void setAudioTimePitchAlgorithm(AVAudioTimePitchAlgorithm algorithm) override;
    void setAllowedAudioSpatializationFormats(std::uint32_t formats) override;
    std::optional<std::string> audioOutputDeviceUniqueID() const override { return std::nullopt; }
    void setAudioOutputDeviceUniqueID(std::optional<std::string> /*uniqueID*/) override {}
    void timelineDidChange(const TimelineAnchor& /*anchor*/, Change /*change*/) override {}

    /// The starts of what is queued, in milliseconds.
    std::vector<std::int64_t> queued() const;
    /// The first of what is queued, or null.
    CMSampleBufferRef first() const;
    std::vector<std::string> events() const;
    bool isRequesting() const;

  private:
    void callBlock(int registration);
    void forget(std::string_view event);
    void note(std::string event);

    mutable std::mutex mutex_;
    const std::size_t capacity_;
    std::vector<CMSampleBufferRef> queued_;
    std::vector<std::string> events_;
    std::shared_ptr<dispatch::Queue> queue_;
    dispatch::Task block_;
    /// Grows with each registration.
    int registration_ = 0;
};

/// A clock that a test moves by hand.
class FakeSynchronizer final : public RenderSynchronizer {
  public:
    void addRenderer(std::shared_ptr<SynchronizedRenderer> renderer) override;
    float rate() const override;
    void setRate(float rate) override;
    void setRate(float rate, const CMTime& time) override;
    CMTime currentTime() const override;
    TimeObserverToken addPeriodicTimeObserver(const CMTime& interval,
                                              std::shared_ptr<dispatch::Queue> queue,
                                              std::function<void(const CMTime&)> block) override;
    TimeObserverToken addBoundaryTimeObserver(std::vector<CMTime> times,
                                              std::shared_ptr<dispatch::Queue> queue,
                                              std::function<void()> block) override;
    void removeTimeObserver(const TimeObserverToken& token) override;

    /// Running time reaches `time`, and crosses what lies on the way.
    void runTo(const CMTime& time);
    /// Somebody else changes the rate.
    void changeRateFromOutside(float rate) { setRate(rate); }
    /// Time goes by while the next boundary observer is being added, which fires at once.
    void crossWhileAdding(const CMTime& time) { crossesWhileAdding_ = time; }
    int removals() const { return removals_; }
    std::size_t rendererCount() const { return renderers_.size(); }
    std::size_t observerCount() const {
        const std::lock_guard lock(mutex_);
        return observers_.size();
    }

  private:
    struct Observer {
        std::vector<CMTime> times;
        std::shared_ptr<dispatch::Queue> queue;
        std::function<void(const CMTime&)> block;
        bool isPeriodic = false;
        std::atomic<bool> isRemoved{false};
    };
    void announce() const;
    static void fire(const std::shared_ptr<Observer>& observer, const CMTime& time);

    mutable std::mutex mutex_;
    float rate_ = 0;
    CMTime time_ = kCMTimeZero;
    std::vector<std::shared_ptr<Observer>> observers_;
    std::vector<std::shared_ptr<SynchronizedRenderer>> renderers_;
    std::optional<CMTime> crossesWhileAdding_;
    int removals_ = 0;
};

/// Remembers what it was told, on the main queue: "+100" for a frame, "clear", "dimensions".
class FakeSubtitlesRenderer final : public SubtitlesRenderer,
                                    public std::enable_shared_from_this<FakeSubtitlesRenderer> {
  public:
    void addSubtitlesFrame(SubtitlesFrameRef frame) override;
    void removeAllSubtitles() override;
    void setVideoDimensions(const VideoDimensions& dimensions) override;
    /// The starts of the frames that are shown now or later, in milliseconds.
    std::vector<std::int64_t> shown() const;
    int dimensionsCount() const;

  private:
    mutable std::mutex mutex_;
    std::vector<std::int64_t> shown_;
    int dimensionsCount_ = 0;
};

/// A main queue that the test's thread cranks, for as long as it lives.
class MainQueueScope {
  public:
    MainQueueScope() { dispatch::setMainQueue(queue_); }
    ~MainQueueScope();
    MainQueueScope(const MainQueueScope&) = delete;
    MainQueueScope& operator=(const MainQueueScope&) = delete;

    /// Runs until no queue has anything left to do. Fails the test when that takes too long.
    void settle() const;

  private:
    std::shared_ptr<dispatch::RunLoopQueue> queue_ = std::make_shared<dispatch::RunLoopQueue>();
};

} // namespace zelvane::test
