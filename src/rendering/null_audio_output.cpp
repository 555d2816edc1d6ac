// SPDX-License-Identifier: GPL-3.0-or-later
#include "rendering/null_audio_output.h"

#include <algorithm>

namespace zelvane {
namespace {

constexpr double kBufferSeconds = 0.2;
constexpr HostDuration kServiceInterval = std::chrono::milliseconds(50);

} // namespace

NullAudioOutput::NullAudioOutput(std::shared_ptr<HostClock> hostClock,
                                 std::unique_ptr<WakeTimer> timer, AudioOutputFormat format)
    : hostClock_(std::move(hostClock)), format_(format), timer_(std::move(timer)) {
    timer_->setHandler([this] { tick(); });
}

void NullAudioOutput::open(EventHandler handler) {
    handler_ = std::move(handler);
}

AudioVolume NullAudioOutput::volume() const {
    const std::lock_guard lock(mutex_);
    return volume_;
}

void NullAudioOutput::setVolumeLevel(float level) {
    const std::lock_guard lock(mutex_);
    volume_.level = level;
}

void NullAudioOutput::setMuted(bool isMuted) {
    const std::lock_guard lock(mutex_);
    volume_.isMuted = isMuted;
}

/// Under the lock.
double NullAudioOutput::playedFrames() const {
    if (!startedAt_) {
        return playedBeforeStart_;
    }
    const std::chrono::duration<double> elapsed = hostClock_->now() - *startedAt_;
    return playedBeforeStart_ + elapsed.count() * format_.sampleRate;
}

void NullAudioOutput::tick() {
    Event event = Event::needsService;
    {
        const std::lock_guard lock(mutex_);
        if (!startedAt_) {
            return;
        }
        const bool hasUnderflowed = playedFrames() > static_cast<double>(written_);
        if (hasUnderflowed && !isUnderflowing_) {
            event = Event::underflowed;
        }
        isUnderflowing_ = hasUnderflowed;
        timer_->wakeAt(hostClock_->now() + kServiceInterval);
    }
    handler_(event);
}

std::size_t NullAudioOutput::writableFrames() const {
    const std::lock_guard lock(mutex_);
    const double end = playedFrames() + kBufferSeconds * format_.sampleRate;
    return static_cast<std::size_t>(std::max(0.0, end - static_cast<double>(written_)));
}

void NullAudioOutput::write(std::span<const float> samples) {
    const std::lock_guard lock(mutex_);
    written_ += samples.size() / static_cast<std::size_t>(format_.channelCount());
}

void NullAudioOutput::start() {
    const std::lock_guard lock(mutex_);
    if (!startedAt_) {
        startedAt_ = hostClock_->now();
        timer_->wakeAt(*startedAt_);
    }
}

void NullAudioOutput::stop() {
    const std::lock_guard lock(mutex_);
    playedBeforeStart_ = playedFrames();
    startedAt_.reset();
    timer_->wakeAt(HostTime::max());
}

void NullAudioOutput::flush() {
    const std::lock_guard lock(mutex_);
    written_ = 0;
    playedBeforeStart_ = 0;
    isUnderflowing_ = false;
    if (startedAt_) {
        startedAt_ = hostClock_->now();
    }
}

std::optional<AudioOutputPosition> NullAudioOutput::position() const {
    const std::lock_guard lock(mutex_);
    if (!startedAt_) {
        return std::nullopt;
    }
    return AudioOutputPosition{playedFrames(), hostClock_->now()};
}

} // namespace zelvane
