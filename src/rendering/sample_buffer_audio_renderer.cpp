// SPDX-License-Identifier: GPL-3.0-or-later
#include "rendering/sample_buffer_audio_renderer.h"

#include <algorithm>
#include <mutex>
#include <utility>
#include <vector>

#include "foundation/notification_center.h"
#include "rendering/audio_queue.h"
#include "rendering/device_audio_player.h"
#include "rendering/media_data_request.h"

namespace zelvane {
namespace {

/// Collects events of the output, on its threads, for the work queue. The output's handler owns
/// this and not the renderer, so that a thread of the output never releases the last reference to
/// the renderer.
class EventInbox {
  public:
    EventInbox(std::shared_ptr<dispatch::Queue> queue, std::function<void()> service)
        : queue_(std::move(queue)), service_(std::move(service)) {}

    void add(AudioOutput::Event event) {
        const std::lock_guard lock(mutex_);
        events_.push_back(event);
        scheduleLocked();
    }
    void schedule() {
        const std::lock_guard lock(mutex_);
        scheduleLocked();
    }
    std::vector<AudioOutput::Event> take() {
        const std::lock_guard lock(mutex_);
        isScheduled_ = false;
        return std::exchange(events_, {});
    }

  private:
    void scheduleLocked() {
        if (!isScheduled_) {
            isScheduled_ = true;
            queue_->async(service_);
        }
    }

    const std::shared_ptr<dispatch::Queue> queue_;
    const std::function<void()> service_;
    std::mutex mutex_;
    std::vector<AudioOutput::Event> events_;
    bool isScheduled_ = false;
};

} // namespace

/// State of callers is guarded by a lock that is not held while code of others runs. The player is
/// used on the work queue only.
class SampleBufferAudioRenderer::Core : public DeviceAudioPlayer::Source,
                                        public std::enable_shared_from_this<Core> {
  public:
    Core(const void* identity, std::unique_ptr<AudioOutput> output,
         std::shared_ptr<HostClock> hostClock)
        : identity_(identity), hostClock_(hostClock), output_(std::move(output)),
          player_(*output_, *this, std::move(hostClock)) {}

    void open(std::shared_ptr<dispatch::Queue> workQueue) {
        inbox_ = std::make_shared<EventInbox>(std::move(workQueue), [weak = weak_from_this()] {
            if (const auto self = weak.lock()) {
                self->service();
            }
        });
        output_->open([inbox = inbox_](AudioOutput::Event event) { inbox->add(event); });
    }

    void enqueue(CMSampleBufferRef buffer) {
        {
            const std::lock_guard lock(mutex_);
            queue_.insert(std::move(buffer));
        }
        inbox_->schedule();
    }

    bool isReady() const {
        const std::lock_guard lock(mutex_);
        const double ahead = queue_.secondsAfter(anchor_.timeAt(hostClock_->now()));
        return ahead < kSecondsAhead * std::max(1.0, situation_.request.rate) &&
               queue_.bytes() < kMaximumBytes;
    }

    void setRequest(const std::shared_ptr<MediaDataRequest>& request) {
        std::shared_ptr<MediaDataRequest> old;
        {
            const std::lock_guard lock(mutex_);
            old = std::exchange(dataRequest_, request);
        }
        if (old) {
            old->cancel();
        }
        if (request) {
            request->poll();
        }
    }

    void flush() {
        {
            const std::lock_guard lock(mutex_);
            queue_.clear();
            ++situation_.flushCount;
        }
        inbox_->schedule();
    }

    void setAlgorithm(AVAudioTimePitchAlgorithm algorithm) {
        const std::lock_guard lock(mutex_);
        situation_.algorithm = algorithm;
    }

    std::optional<std::string> device() const {
        const std::lock_guard lock(mutex_);
        return device_;
    }

    void setDevice(std::optional<std::string> uniqueID) {
        {
            const std::lock_guard lock(mutex_);
            device_ = uniqueID;
        }
        output_->setDevice(std::move(uniqueID));
    }

    AudioVolume volume() const { return output_->volume(); }

    void setVolumeLevel(float level) {
        output_->setVolumeLevel(level > 0 ? std::min(level, 1.0F) : 0);
        inbox_->schedule();
    }

    void setMuted(bool isMuted) {
        output_->setMuted(isMuted);
        inbox_->schedule();
    }

    void setAnchor(const TimelineAnchor& anchor, SynchronizedRenderer::Change change) {
        {
            const std::lock_guard lock(mutex_);
            anchor_ = anchor;
        }
        if (change != SynchronizedRenderer::Change::steered) {
            inbox_->schedule();
        }
    }

    void setControl(std::weak_ptr<TimelineControl> control) {
        const std::lock_guard lock(mutex_);
        control_ = std::move(control);
    }

    bool willChange(const TimelineRequest& request) {
        const bool hasDevice = output_->state() != AudioOutput::State::unavailable;
        bool starts = false;
        {
            const std::lock_guard lock(mutex_);
            starts = hasDevice && request.startsBy && queue_.hasDataAfter(request.time);
            situation_.request = request;
            if (!starts) {
                situation_.request.startsBy.reset();
            }
            // setAnchor() follows with the same; until then the old anchor must not be used with
            // the new request.
            anchor_ = {request.time, hostClock_->now(), starts ? 0 : request.rate};
        }
        inbox_->schedule();
        return starts;
    }

    AudioStatistics statistics() const {
        const std::lock_guard lock(mutex_);
        return statistics_;
    }

    std::optional<AudioQueue::Chunk> read(AudioQueue::Cursor& cursor,
                                          std::int64_t maxFrames) override {
        const std::lock_guard lock(mutex_);
        return queue_.read(cursor, maxFrames);
    }

    bool hasDataAfter(const CMTime& time) override {
        const std::lock_guard lock(mutex_);
        return queue_.hasDataAfter(time);
    }

    bool expectsMore() override {
        const std::lock_guard lock(mutex_);
        return dataRequest_ != nullptr;
    }

    TimelineAnchor anchor() override {
        const std::lock_guard lock(mutex_);
        return anchor_;
    }

    std::shared_ptr<TimelineControl> control() override {
        const std::lock_guard lock(mutex_);
        return control_.lock();
    }

    void soundWasLost(const CMTime& time) override {
        NotificationCenter::shared().post(
            {std::string(kAudioRendererWasFlushedAutomaticallyNotification),
             identity_,
             {{std::string(kAudioRendererFlushTimeKey), time}}});
    }

  private:
    void service() {
        const auto events = inbox_->take();
        DeviceAudioPlayer::Situation situation;
        {
            const std::lock_guard lock(mutex_);
            situation = situation_;
        }
        player_.service(events, situation);
        announceVolume();
        std::shared_ptr<MediaDataRequest> request;
        {
            const std::lock_guard lock(mutex_);
            statistics_ = player_.statistics();
            queue_.releaseBefore(anchor_.timeAt(hostClock_->now()));
            request = dataRequest_;
        }
        if (request) {
            request->poll();
        }
    }

    /// On the work queue.
    void announceVolume() {
        const AudioVolume volume = output_->volume();
        if (volume != announcedVolume_) {
            announcedVolume_ = volume;
            NotificationCenter::shared().post(
                {std::string(kAudioRendererVolumeDidChangeNotification), identity_, {}});
        }
    }

    const void* const identity_;
    const std::shared_ptr<HostClock> hostClock_;
    std::shared_ptr<EventInbox> inbox_;

    mutable std::mutex mutex_;
    AudioQueue queue_;
    DeviceAudioPlayer::Situation situation_;
    TimelineAnchor anchor_;
    std::weak_ptr<TimelineControl> control_;
    std::shared_ptr<MediaDataRequest> dataRequest_;
    std::optional<std::string> device_;
    AudioStatistics statistics_;

    std::unique_ptr<AudioOutput> output_;
    /// Used on the work queue only, as is the player.
    AudioVolume announcedVolume_;
    DeviceAudioPlayer player_;
};

SampleBufferAudioRenderer::SampleBufferAudioRenderer(std::unique_ptr<AudioOutput> output,
                                                     std::shared_ptr<HostClock> hostClock,
                                                     std::shared_ptr<dispatch::Queue> workQueue)
    : core_(std::make_shared<Core>(static_cast<const AudioRendering*>(this), std::move(output),
                                   std::move(hostClock))) {
    core_->open(std::move(workQueue));
}

SampleBufferAudioRenderer::~SampleBufferAudioRenderer() {
    core_->setRequest(nullptr);
}

void SampleBufferAudioRenderer::enqueueSampleBuffer(CMSampleBufferRef sampleBuffer) {
    core_->enqueue(std::move(sampleBuffer));
}

bool SampleBufferAudioRenderer::isReadyForMoreMediaData() const {
    return core_->isReady();
}

void SampleBufferAudioRenderer::requestMediaDataWhenReady(std::shared_ptr<dispatch::Queue> queue,
                                                          dispatch::Task block) {
    core_->setRequest(std::make_shared<MediaDataRequest>(std::move(queue), std::move(block),
                                                         [weak = std::weak_ptr<Core>(core_)] {
                                                             const auto core = weak.lock();
                                                             return core && core->isReady();
                                                         }));
}

void SampleBufferAudioRenderer::stopRequestingMediaData() {
    core_->setRequest(nullptr);
}
void SampleBufferAudioRenderer::flush() {
    core_->flush();
}

void SampleBufferAudioRenderer::setAudioTimePitchAlgorithm(AVAudioTimePitchAlgorithm algorithm) {
    core_->setAlgorithm(algorithm);
}

// There is no spatial rendering that would use it.
void SampleBufferAudioRenderer::setAllowedAudioSpatializationFormats(std::uint32_t) {}

std::optional<std::string> SampleBufferAudioRenderer::audioOutputDeviceUniqueID() const {
    return core_->device();
}

void SampleBufferAudioRenderer::setAudioOutputDeviceUniqueID(std::optional<std::string> uniqueID) {
    core_->setDevice(std::move(uniqueID));
}

float SampleBufferAudioRenderer::volume() const {
    return core_->volume().level;
}

void SampleBufferAudioRenderer::setVolume(float volume) {
    core_->setVolumeLevel(volume);
}

bool SampleBufferAudioRenderer::isMuted() const {
    return core_->volume().isMuted;
}

void SampleBufferAudioRenderer::setMuted(bool isMuted) {
    core_->setMuted(isMuted);
}

void SampleBufferAudioRenderer::timelineDidChange(const TimelineAnchor& anchor, Change change) {
    core_->setAnchor(anchor, change);
}

void SampleBufferAudioRenderer::setTimelineControl(std::weak_ptr<TimelineControl> control) {
    core_->setControl(std::move(control));
}

bool SampleBufferAudioRenderer::timelineWillChange(const TimelineRequest& request) {
    return core_->willChange(request);
}

AudioStatistics SampleBufferAudioRenderer::statistics() const {
    return core_->statistics();
}

} // namespace zelvane
