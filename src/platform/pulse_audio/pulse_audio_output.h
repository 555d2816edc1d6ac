// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "rendering/audio_output.h"

namespace zelvane {

/// A sink that the user can choose.
struct AudioDevice {
    /// For AudioRendering::setAudioOutputDeviceUniqueID: the name of the sink.
    std::string uniqueID;
    /// For display, in the language of the server.
    std::string name;
    bool isDefault = false;
};

/// A stream on the sound server, PulseAudio or PipeWire. While there is no server, connecting is
/// retried every kRetryInterval.
///
///   opening --context and stream ready--> ready <--------.
///      |                                    |            | ready
///      '--- refused ---> unavailable <--- lost       (every kRetryInterval)
///                             '-------------------------'
///
/// Any thread may call; no call waits for the server.
class PulseAudioOutput final : public AudioOutput {
  public:
    /// Without an address, libpulse chooses the server.
    explicit PulseAudioOutput(std::optional<std::string> server = std::nullopt);
    ~PulseAudioOutput() override;

    void open(EventHandler handler) override;
    void setDevice(std::optional<std::string> uniqueID) override;
    /// Until this program sets it, the volume that the server remembers for the player.
    AudioVolume volume() const override;
    void setVolumeLevel(float level) override;
    void setMuted(bool isMuted) override;
    State state() const override;
    AudioOutputFormat format() const override;
    std::size_t writableFrames() const override;
    void write(std::span<const float> samples) override;
    void start() override;
    void stop() override;
    void flush() override;
    std::optional<AudioOutputPosition> position() const override;

    /// The sinks of the server, as last reported; empty while there is no server.
    std::vector<AudioDevice> devices() const;

  private:
    class Connection;
    std::unique_ptr<Connection> connection_;
};

} // namespace zelvane
