// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "rendering/audio_output.h"

namespace zelvane {

/// A sink that a person may choose.
struct AudioDevice {
    /// What AudioRendering::setAudioOutputDeviceUniqueID takes: the sink's name.
    std::string uniqueID;
    /// For people, in the server's language.
    std::string name;
    bool isDefault = false;
};

/// A stream on the sound server: PulseAudio, or PipeWire in its place. A server that is not there,
/// or that goes, is tried again until it is there.
///
///   opening --context and stream ready--> ready <--------.
///      |                                    |            | ready
///      '--- refused ---> unavailable <--- lost       (every kRetryInterval)
///                             '-------------------------'
///
/// Any thread may call; nothing waits for the server.
class PulseAudioOutput final : public AudioOutput {
  public:
    /// The server by libpulse's own rules when there is none given.
    explicit PulseAudioOutput(std::optional<std::string> server = std::nullopt);
    ~PulseAudioOutput() override;

    void open(EventHandler handler) override;
    void setDevice(std::optional<std::string> uniqueID) override;
    State state() const override;
    AudioOutputFormat format() const override;
    std::size_t writableFrames() const override;
    void write(std::span<const float> samples) override;
    void start() override;
    void stop() override;
    void flush() override;
    std::optional<AudioOutputPosition> position() const override;

    /// The server's sinks as they were last told; empty while there is no server.
    std::vector<AudioDevice> devices() const;

  private:
    class Connection;
    std::unique_ptr<Connection> connection_;
};

} // namespace zelvane
