// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <atomic>
#include <cmath>
#include <cstring>
#include <functional>
#include <map>
#include <memory>
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

/// The monotonic clock and all timers on it, cranked by hand.
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

    /// Goes on by `duration`, stopping at each alarm to ring it. `afterAlarm` runs after each.
    void advance(
        HostDuration duration, const std::function<void()>& afterAlarm = [] {}) {
        const HostTime end = now() + duration;
        while (true) {
            const auto next = nextAlarm();
            if (next == alarms_->end() || next->second.when > end) {
                break;
            }
            clock_->now_ = std::max(now(), next->second.when).count();
            next->second.when = HostTime::max();
            const auto handler = next->second.handler;
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
    using Alarms = std::map<const void*, Alarm>;
    class Timer final : public WakeTimer {
      public:
        explicit Timer(std::shared_ptr<Alarms> alarms) : alarms_(std::move(alarms)) {}
        ~Timer() override { alarms_->erase(this); }
        void setHandler(std::function<void()> handler) override {
            (*alarms_)[this].handler = std::move(handler);
        }
        void wakeAt(HostTime when) override { (*alarms_)[this].when = when; }

      private:
        std::shared_ptr<Alarms> alarms_;
    };

    Alarms::iterator nextAlarm() {
        auto nearest = alarms_->end();
        for (auto alarm = alarms_->begin(); alarm != alarms_->end(); ++alarm) {
            const bool isNearer =
                nearest == alarms_->end() || alarm->second.when < nearest->second.when;
            if (alarm->second.when != HostTime::max() && isNearer) {
                nearest = alarm;
            }
        }
        return nearest;
    }

    std::shared_ptr<Clock> clock_ = std::make_shared<Clock>();
    std::shared_ptr<Alarms> alarms_ = std::make_shared<Alarms>();
};

/// A device on fake time that keeps what it plays, each frame with the time at which it is heard.
/// It has a delay from start to the first frame, a clock that may be off, and faults on demand.
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
        /// Device seconds a host second.
        double speed = 1;
        double bufferSeconds = 0.2;
        bool isStarted = false;
        int starts = 0;
        std::optional<std::string> device;
        EventHandler handler;
    };

    RecordingOutput(FakeTime& time, std::shared_ptr<Record> record)
        : clock_(time.clock()), record_(std::move(record)), timer_(time.makeTimer()) {
        timer_->setHandler([this] { tick(); });
    }

    void open(EventHandler handler) override { record_->handler = std::move(handler); }
    void setDevice(std::optional<std::string> uniqueID) override { record_->device = uniqueID; }
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
        if (!record_->isStarted || played() <= 0) {
            return std::nullopt;
        }
        return AudioOutputPosition{played(), clock_->now()};
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
    /// Notes what was played up to now.
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
    CMFormatDescriptionRef format;
    CMFormatDescription::createForAudio({description, tag, {}}, format);

    auto data = std::make_shared<std::vector<float>>();
    for (std::int64_t frame = 0; frame < frames; ++frame) {
        data->insert(data->end(), channels, sample(frame));
    }
    auto block = std::make_shared<CMBlockBuffer>();
    block->appendMemoryBlock(
        {reinterpret_cast<const std::uint8_t*>(data->data()), data->size() * sizeof(float)},
        [data] {});
    CMSampleBufferRef buffer;
    CMSampleBuffer::create(block, format, frames, {CMTime(1, sampleRate), time, kCMTimeInvalid},
                           description.mBytesPerFrame, buffer);
    return buffer;
}

} // namespace zelvane::test
