// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <atomic>
#include <memory>

#include "rendering/audio_output.h"

namespace zelvane {

/// Plays on the preferred output while it is available, otherwise on the fallback, which always is.
/// Any thread, if both outputs allow that.
class FallbackAudioOutput final : public AudioOutput {
  public:
    FallbackAudioOutput(std::unique_ptr<AudioOutput> preferred,
                        std::unique_ptr<AudioOutput> fallback);

    void open(EventHandler handler) override;
    void setDevice(std::optional<std::string> uniqueID) override;
    /// The preferred output keeps the volume while it is unavailable; the fallback is silent.
    AudioVolume volume() const override { return preferred_->volume(); }
    void setVolumeLevel(float level) override { preferred_->setVolumeLevel(level); }
    void setMuted(bool isMuted) override { preferred_->setMuted(isMuted); }
    State state() const override;
    AudioOutputFormat format() const override { return active().format(); }
    std::size_t writableFrames() const override { return active().writableFrames(); }
    void write(std::span<const float> samples) override { active().write(samples); }
    void start() override { active().start(); }
    void stop() override { active().stop(); }
    void flush() override { active().flush(); }
    std::optional<AudioOutputPosition> position() const override { return active().position(); }

  private:
    AudioOutput& active() const { return usesFallback_ ? *fallback_ : *preferred_; }
    void preferredDid(Event event);

    EventHandler handler_;
    std::atomic<bool> usesFallback_{false};
    // Destroyed first: their events use the members above.
    std::unique_ptr<AudioOutput> fallback_;
    std::unique_ptr<AudioOutput> preferred_;
};

} // namespace zelvane
