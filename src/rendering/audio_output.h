// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>

#include "foundation/host_clock.h"

namespace zelvane {

/// The format that a device takes: 32-bit float, interleaved.
struct AudioOutputFormat {
    int sampleRate = 48000;
    /// FFmpeg's AV_CH_ bits; the samples of a frame are in the order of the bits.
    std::uint64_t channelMask = 0x3;

    int channelCount() const;
    friend bool operator==(const AudioOutputFormat&, const AudioOutputFormat&) = default;
};

/// Frame `frame`, counted from the last flush, is heard at `hostTime`.
struct AudioOutputPosition {
    double frame = 0;
    HostTime hostTime{0};
};

/// How loud an output plays.
struct AudioVolume {
    /// 0…1 on the perceptual scale of the sound server's mixers.
    float level = 1;
    bool isMuted = false;

    friend bool operator==(const AudioVolume&, const AudioVolume&) = default;
};

/// Interface of one sound device: a buffer of frames that plays while it is started. Any thread may
/// call; no call waits for the device. The handler is called on any thread and must call no
/// function of the output but state().
class AudioOutput {
  public:
    enum class Event {
        /// There is room for frames, or there is a new position.
        needsService,
        /// The device had nothing to play. Frames written from now on are heard at unknown times.
        underflowed,
        /// Another device plays from now on. Written frames may be lost; state() and format() may
        /// have changed.
        moved,
        /// The device is gone, and the written frames with it.
        lost,
        /// state() changed to ready or unavailable.
        settled,
        /// Another program changed the volume of this stream, or the server restored it.
        volumeChanged,
    };
    enum class State {
        /// Connecting; a settled event follows.
        opening,
        ready,
        unavailable,
    };
    using EventHandler = std::function<void(Event)>;

    virtual ~AudioOutput() = default;

    /// Opens the device without waiting for it. To be called once, before any other function. The
    /// destructor waits for a running call of the handler; no call follows.
    virtual void open(EventHandler handler) = 0;
    /// The device to play on; none means the default device.
    virtual void setDevice(std::optional<std::string> uniqueID) = 0;

    /// Kept over flushes, changes of device and reconnections.
    virtual AudioVolume volume() const = 0;
    /// `level` is within 0…1.
    virtual void setVolumeLevel(float level) = 0;
    virtual void setMuted(bool isMuted) = 0;

    virtual State state() const = 0;
    /// Valid while ready.
    virtual AudioOutputFormat format() const = 0;
    /// How many frames the buffer still takes.
    virtual std::size_t writableFrames() const = 0;
    /// Appends whole frames.
    virtual void write(std::span<const float> samples) = 0;
    /// Plays the written frames.
    virtual void start() = 0;
    /// Pauses, keeps the written frames, and lets the device sleep.
    virtual void stop() = 0;
    /// Drops written frames that were not heard yet. The count of frames starts again from zero.
    virtual void flush() = 0;
    /// The latest measurement; none until there is one since start() or flush().
    virtual std::optional<AudioOutputPosition> position() const = 0;
};

} // namespace zelvane
