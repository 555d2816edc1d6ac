// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstring>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

#include "core_media/cm_sample_buffer.h"
#include "foundation/host_clock.h"
#include "rendering/audio_output.h"
#include "rendering/wake_timer.h"

namespace zelvane::test {

constexpr CMTime ms(std::int64_t milliseconds) {
    return {milliseconds, 1000};
}

/// A monotonic clock and its timers, advanced by the test.
class FakeTime {
  public:
    class Clock final : public HostClock {
      public:
        HostTime now() const override { return HostTime(now_.load()); }
        std::atomic<std::int64_t> now_{1'000'000'000};
    };

    std::shared_ptr<Clock> clock() const { return clock_; }
    HostTime now() const { return clock_->now(); }
    std::unique_ptr<WakeTimer> makeTimer() { return std::make_unique<Timer>(alarms_); }

    /// Advances by `duration` and rings each alarm at its time. `afterAlarm` runs after each.
    void advance(
        HostDuration duration, const std::function<void()>& afterAlarm = [] {}) {
        const HostTime end = now() + duration;
        while (const auto handler = passToAlarm(end)) {
            handler();
            afterAlarm();
        }
        clock_->now_ = end.count();
    }

  private:
    struct Alarm {
        HostTime when = HostTime::max();
        std::function<void()> handler;
    };
    /// Timers set their alarms on any thread.
    struct Alarms {
        std::mutex mutex;
        std::map<const void*, Alarm> byTimer;
    };
    class Timer final : public WakeTimer {
      public:
        explicit Timer(std::shared_ptr<Alarms> alarms) : alarms_(std::move(alarms)) {}
        ~Timer() override {
            const std::lock_guard lock(alarms_->mutex);
            alarms_->byTimer.erase(this);
        }
        void setHandler(std::function<void()> handler) override {
            const std::lock_guard lock(alarms_->mutex);
            alarms_->byTimer[this].handler = std::move(handler);
        }
        void wakeAt(HostTime when) override {
            const std::lock_guard lock(alarms_->mutex);
            alarms_->byTimer[this].when = when;
        }

      private:
        std::shared_ptr<Alarms> alarms_;
    };

    /// Moves the clock to the first alarm until `end` and returns its handler, or null if there is
    /// none.
    std::function<void()> passToAlarm(HostTime end) {
        const std::lock_guard lock(alarms_->mutex);
        const auto first = std::min_element(
            alarms_->byTimer.begin(), alarms_->byTimer.end(),
            [](const auto& a, const auto& b) { return a.second.when < b.second.when; });
        if (first == alarms_->byTimer.end() || first->second.when == HostTime::max() ||
            first->second.when > end) {
            return nullptr;
        }
        clock_->now_ = std::max(now(), std::exchange(first->second.when, HostTime::max())).count();
        return first->second.handler;
    }

    std::shared_ptr<Clock> clock_ = std::make_shared<Clock>();
    std::shared_ptr<Alarms> alarms_ = std::make_shared<Alarms>();
};

/// A device on fake time that records each frame with the time at which it is heard. It has a delay
/// from start to the first frame, a clock that may be inexact, and faults on demand.
class RecordingOutput final : public AudioOutput {
  public:
    struct Heard {
        HostTime at;
        /// Of the first channel.
        float sample;
    };
    struct Record {
        std::vector<Heard> heard;
        State state = State::ready;
        AudioOutputFormat format;
        HostDuration startDelay = std::chrono::milliseconds(8);
        /// Whether the position is known before the first frame is heard.
        bool reportsDelay = false;
        /// Device seconds per host second.
        double speed = 1;
        double bufferSeconds = 0.2;
        bool isStarted = false;
        int starts = 0;
        std::optional<std::string> device;
        AudioVolume volume;
        EventHandler handler;
    };

    RecordingOutput(FakeTime& time, std::shared_ptr<Record> record)
        : clock_(time.clock()), record_(std::move(record)), timer_(time.makeTimer()) {
        timer_->setHandler([this] { tick(); });
    }

    void open(EventHandler handler) override { record_->handler = std::move(handler); }
    void setDevice(std::optional<std::string> uniqueID) override { record_->device = uniqueID; }
    AudioVolume volume() const override { return record_->volume; }
    void setVolumeLevel(float level) override { record_->volume.level = level; }
    void setMuted(bool isMuted) override { record_->volume.isMuted = isMuted; }
    State state() const override { return record_->state; }
    AudioOutputFormat format() const override { return record_->format; }
    std::size_t writableFrames() const override {
        const double room = played() + record_->bufferSeconds * rate() - written();
        return static_cast<std::size_t>(std::max(0.0, room));
    }
    void write(std::span<const float> samples) override {
        for (std::size_t i = 0; i < samples.size(); i += channels()) {
            buffer_.push_back(samples[i]);
        }
    }
    void start() override {
        if (!record_->isStarted) {
            record_->isStarted = true;
            ++record_->starts;
            startedAt_ = clock_->now() + record_->startDelay;
            timer_->wakeAt(startedAt_ + std::chrono::milliseconds(1));
        }
    }
    void stop() override {
        hear();
        record_->isStarted = false;
        timer_->wakeAt(HostTime::max());
    }
    void flush() override {
        hear();
        buffer_.clear();
        heardFrames_ = 0;
        startedAt_ = clock_->now() + record_->startDelay;
    }
    std::optional<AudioOutputPosition> position() const override {
        if (!record_->isStarted || (played() <= 0 && !record_->reportsDelay)) {
            return std::nullopt;
        }
        const std::chrono::duration<double> elapsed = clock_->now() - startedAt_;
        return AudioOutputPosition{elapsed.count() * rate() * record_->speed, clock_->now()};
    }

  private:
    std::size_t channels() const {
        return static_cast<std::size_t>(record_->format.channelCount());
    }
    double rate() const { return record_->format.sampleRate; }
    double written() const { return static_cast<double>(buffer_.size()); }
    double played() const {
        if (!record_->isStarted) {
            return 0;
        }
        const std::chrono::duration<double> elapsed = clock_->now() - startedAt_;
        return std::max(0.0, elapsed.count() * rate() * record_->speed);
    }
    /// Records the frames that were played up to now.
    void hear() {
        const auto end = static_cast<std::size_t>(std::min(played(), written()));
        for (; heardFrames_ < end; ++heardFrames_) {
            const double seconds = static_cast<double>(heardFrames_) / (rate() * record_->speed);
            record_->heard.push_back(
                {startedAt_ + HostDuration(std::llround(seconds * 1e9)), buffer_[heardFrames_]});
        }
    }
    void tick() {
        hear();
        if (record_->isStarted) {
            timer_->wakeAt(clock_->now() + std::chrono::milliseconds(20));
            record_->handler(played() > written() ? Event::underflowed : Event::needsService);
        }
    }

    std::shared_ptr<FakeTime::Clock> clock_;
    std::shared_ptr<Record> record_;
    std::vector<float> buffer_;
    std::size_t heardFrames_ = 0;
    HostTime startedAt_{0};
    std::unique_ptr<WakeTimer> timer_;
};

/// An audio buffer of 32-bit floats, interleaved; `sample(frame)` on each channel.
inline CMSampleBufferRef
makeAudioBuffer(const CMTime& time, std::int64_t frames,
                const std::function<float(std::int64_t)>& sample, int sampleRate = 48000,
                std::uint32_t channels = 2,
                AudioChannelLayoutTag tag = kAudioChannelLayoutTag_Stereo) {
    AudioStreamBasicDescription description;
    description.mSampleRate = sampleRate;
    description.mFormatID = kAudioFormatLinearPCM;
    description.mFormatFlags = kAudioFormatFlagIsFloat;
    description.mChannelsPerFrame = channels;
    description.mBytesPerFrame = description.mBytesPerPacket =
        channels * static_cast<std::uint32_t>(sizeof(float));
    description.mFramesPerPacket = 1;
    description.mBitsPerChannel = 32;
    const auto format = CMFormatDescription::ofAudio({description, tag, {}});

    auto data = std::make_shared<std::vector<float>>();
    for (std::int64_t frame = 0; frame < frames; ++frame) {
        data->insert(data->end(), channels, sample(frame));
    }
    auto block = std::make_shared<CMBlockBuffer>();
    block->appendMemoryBlock(
        {reinterpret_cast<const std::uint8_t*>(data->data()), data->size() * sizeof(float)},
        [data] {});
    return CMSampleBuffer::ofAudio(block, format, frames,
                                   {CMTime(1, sampleRate), time, kCMTimeInvalid},
                                   description.mBytesPerFrame);
}

} // namespace zelvane::test
