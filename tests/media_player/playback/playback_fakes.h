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
#include "media_player/media_source/external_subtitles_track.h"
#include "media_player/playback/media_player.h"
#include "rendering/media_data_request.h"
#include "rendering/queued_sample_buffer_rendering.h"
#include "rendering/sample_buffer_render_synchronizer.h"
#include "tests/rendering/rendering_fakes.h"

namespace zelvane::test {

std::int64_t inMilliseconds(const CMTime& time);

/// A sound buffer.
CMSampleBufferRef makeSampleBuffer(const CMTime& start, const CMTime& duration);
/// A buffer of a small picture.
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

/// Reads a time line of packets in file order: "0k 40 80! p60+100". A number is the start of a
/// packet of the main stream, which lasts for `frameDuration`, or for the number after "+". "k"
/// marks a key packet, "!" one that fails to decode; "p" and "s" before it, one of the subtitles.
std::vector<TimelinePacket> timeline(std::string_view text, std::int64_t frameDuration = 40);

/// Makes a buffer with each packet's time, and holds back `delay` of them, as codecs do.
class FakeDecoder final : public CoreMediaCompatibleDecoder {
  public:
    explicit FakeDecoder(std::size_t delay = 0) : delay_(delay) {}
    bool startDecoding(const Packet& packet) override;
    CMSampleBufferRef dequeueSampleBuffer() override;
    void flush() override;
    /// Otherwise the buffers are of sound, which providers of pictures do not keep for seeks.
    bool givesPictures = false;

  private:
    const std::size_t delay_;
    std::deque<CMSampleBufferRef> held_;
    bool isDraining_ = false;
};

/// Makes a frame with each packet's time; an empty packet gives the frames that are held back.
class FakeSubtitlesDecoder final : public SubtitlesFrameDecoder {
  public:
    std::vector<SubtitlesFrameRef> decode(const Packet& packet) override;
    void flush() override;
    /// Called by decode() and flush().
    std::function<void()> onDecode = [] {};
    std::function<void()> onFlush = [] {};
    /// Frames that only the end of the stream gives; with `failsAtEnd` it throws instead.
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
class FakePacketSource final : public PlayableSource {
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
    std::string id() const override { return "source"; }
    const URL& url() const override { return url_; }
    const OptionalMetadata& optionalMetadata() const override { return metadata_; }
    const MediaChapters& chapters() const override { return chapters_; }
    const std::vector<std::shared_ptr<VideoTrack>>& videoTracks() const override { return video_; }
    const std::vector<std::shared_ptr<AudioTrack>>& audioTracks() const override { return sound_; }
    SubtitlesTracks subtitlesTracks() const override {
        return {tracks_.primary, tracks_.secondary};
    }
    void addExternalSubtitles(const URL& /*url*/, ExternalSubtitlesHandler /*successHandler*/,
                              FailureHandler /*failureHandler*/) override {}

    /// While closed, seeks wait inside the source.
    void closeSeekGate();
    void openSeekGate();
    /// Returns once a seek waits there.
    void waitForSeekAtGate();

    /// The targets of all audio seeks so far, in milliseconds.
    std::vector<std::int64_t> audioSeekTargets() const;

    std::atomic<bool> failsReads{false};
    std::atomic<bool> failsSeeks{false};
    /// Called by each audio read with the number of reads so far, on the reading thread.
    std::function<void(int count)> onAudioRead;

  private:
    struct Stream {
        std::vector<TimelinePacket> packets;
        std::size_t position = 0;
    };
    std::shared_ptr<MediaTrack> trackOf(const TimelinePacket& packet) const;
    /// Moves the stream past the first main packet at or after `time`, and returns the packets from
    /// the key packet before it.
    static std::vector<TimelinePacket> collect(Stream& stream, std::int64_t time);
    void passGate();

    const FakeTracks tracks_;
    const std::vector<std::shared_ptr<VideoTrack>> video_{tracks_.video};
    const std::vector<std::shared_ptr<AudioTrack>> sound_{tracks_.audio};
    const URL url_ = URL::fromPath("/media.mkv");
    const OptionalMetadata metadata_;
    MediaChapters chapters_;
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

/// Takes buffers up to a limit, and records them and the calls, in order.
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
    float volume() const override { return volume_; }
    void setVolume(float volume) override { volume_ = volume; }
    bool isMuted() const override { return isMuted_; }
    void setMuted(bool isMuted) override { isMuted_ = isMuted; }
    void timelineDidChange(const TimelineAnchor& /*anchor*/, Change /*change*/) override {}

    /// The starts of the queued buffers, in milliseconds.
    std::vector<std::int64_t> queued() const;
    std::vector<CMSampleBufferRef> buffers() const;
    /// The first queued buffer, or null.
    CMSampleBufferRef first() const;
    /// All samples of what is queued.
    std::int64_t sampleCount() const;
    std::vector<std::string> events() const;
    bool isRequesting() const;

  private:
    void forget(std::string_view event);
    void note(std::string event);
    void setRequest(const std::shared_ptr<MediaDataRequest>& request, const char* event);

    mutable std::mutex mutex_;
    const std::size_t capacity_;
    float volume_ = 1;
    bool isMuted_ = false;
    std::vector<CMSampleBufferRef> queued_;
    std::vector<std::string> events_;
    std::shared_ptr<MediaDataRequest> request_;
};

/// The real clock on host time that the test advances.
class FakeSynchronizer final : public RenderSynchronizer {
  public:
    FakeSynchronizer();

    void addRenderer(std::shared_ptr<SynchronizedRenderer> renderer) override;
    float rate() const override { return clock_->rate(); }
    void setRate(float rate) override { clock_->setRate(rate); }
    void setRate(float rate, const CMTime& time) override { clock_->setRate(rate, time); }
    CMTime currentTime() const override { return clock_->currentTime(); }
    TimeObserverToken addPeriodicTimeObserver(const CMTime& interval,
                                              std::shared_ptr<dispatch::Queue> queue,
                                              std::function<void(const CMTime&)> block) override;
    TimeObserverToken addBoundaryTimeObserver(std::vector<CMTime> times,
                                              std::shared_ptr<dispatch::Queue> queue,
                                              std::function<void()> block) override;
    void removeTimeObserver(const TimeObserverToken& token) override;

    /// Lets the clock run to `time` at its rate; a stopped clock runs at 1, unannounced.
    void runTo(const CMTime& time);
    /// Time passes while the next boundary observer is being added, which fires at once.
    void crossWhileAdding(const CMTime& time) { crossesWhileAdding_ = time; }
    int removals() const { return removals_; }
    std::size_t rendererCount() const { return rendererCount_; }
    int observerCount() const { return observerCount_; }

  private:
    FakeTime time_;
    const std::shared_ptr<SampleBufferRenderSynchronizer> clock_;
    NotificationObserver announcements_;
    std::atomic<bool> isQuiet_{false};
    std::optional<CMTime> crossesWhileAdding_;
    std::atomic<int> removals_{0};
    std::atomic<int> observerCount_{0};
    std::size_t rendererCount_ = 0;
};

/// Holds frames until the test ends them. Main queue.
class FakeSubtitlesRenderer final : public SubtitlesRenderer,
                                    public std::enable_shared_from_this<FakeSubtitlesRenderer> {
  public:
    void addSubtitlesFrame(SubtitlesFrameRef frame) override;
    void removeAllSubtitles() override;
    void setVideoDimensions(const VideoDimensions& /*dimensions*/) override { ++dimensionsCount_; }

    void endFirst(std::size_t count);
    /// The starts of the frames that it holds, in milliseconds.
    const std::vector<std::int64_t>& shown() const { return shown_; }
    /// The largest number of frames that it held.
    std::size_t most() const { return most_; }
    int arrivals() const { return arrivals_; }
    int dimensionsCount() const { return dimensionsCount_; }

    /// Each frame has ended when it arrives.
    bool dropsEverything = false;

  private:
    void reportCount() const {
        mediaDataRequester()->setBufferCount(static_cast<int>(shown_.size()));
    }

    std::vector<std::int64_t> shown_;
    std::size_t most_ = 0;
    int arrivals_ = 0;
    std::atomic<int> dimensionsCount_{0};
};

/// A main queue that the test's thread runs, while this exists.
class MainQueueScope {
  public:
    MainQueueScope() { dispatch::setMainQueue(queue_); }
    ~MainQueueScope();
    MainQueueScope(const MainQueueScope&) = delete;
    MainQueueScope& operator=(const MainQueueScope&) = delete;

    /// Runs until all queues are empty. Fails the test after a timeout.
    void settle() const;

  private:
    std::shared_ptr<dispatch::RunLoopQueue> queue_ = std::make_shared<dispatch::RunLoopQueue>();
};

} // namespace zelvane::test
