// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>
#include <mutex>

#include "rendering/audio_output.h"
#include "rendering/wake_timer.h"

namespace zelvane {

/// A device without sound: it plays on the monotonic clock, starts at once and is always ready. Any
/// thread.
class NullAudioOutput final : public AudioOutput {
  public:
    explicit NullAudioOutput(std::shared_ptr<HostClock> hostClock = HostClock::system(),
                             std::unique_ptr<WakeTimer> timer = WakeTimer::makeThread(),
                             AudioOutputFormat format = {});

    void open(EventHandler handler) override;
    void setDevice(std::optional<std::string>) override {}
    AudioVolume volume() const override;
    void setVolumeLevel(float level) override;
    void setMuted(bool isMuted) override;
    State state() const override { return State::ready; }
    AudioOutputFormat format() const override { return format_; }
    std::size_t writableFrames() const override;
    void write(std::span<const float> samples) override;
    void start() override;
    void stop() override;
    void flush() override;
    std::optional<AudioOutputPosition> position() const override;

  private:
    double playedFrames() const;
    void tick();

    const std::shared_ptr<HostClock> hostClock_;
    const AudioOutputFormat format_;
    mutable std::mutex mutex_;
    AudioVolume volume_;
    std::size_t written_ = 0;
    double playedBeforeStart_ = 0;
    std::optional<HostTime> startedAt_;
    bool isUnderflowing_ = false;
    EventHandler handler_;
    /// The last member, destroyed first: its thread uses all of the above.
    std::unique_ptr<WakeTimer> timer_;
};

} // namespace zelvane
