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

/// What a device takes: 32-bit float, interleaved.
struct AudioOutputFormat {
    int sampleRate = 48000;
    /// FFmpeg's AV_CH_ bits; samples of a frame lie in the order of the bits.
    std::uint64_t channelMask = 0x3;

    int channelCount() const;
    friend bool operator==(const AudioOutputFormat&, const AudioOutputFormat&) = default;
};

/// `frame`, counted from the last flush, is heard at `hostTime`.
struct AudioOutputPosition {
    double frame = 0;
    HostTime hostTime{0};
};

/// The seam to one sound device: a buffer of frames that plays while it is started. Any thread may
/// call and no call waits for the device; events come on any thread, and a handler must not call
/// back, but for state().
class AudioOutput {
  public:
    enum class Event {
        /// There is room for frames, or a new position.
        needsService,
        /// The device had nothing to play: frames written from now on are heard at new times.
        underflowed,
        /// Another device plays from now on. What was written may be lost, and state() and format()
        /// may be other ones.
        moved,
        /// The device went away, with what was written.
        lost,
        /// state() became ready, or it became clear that it will not.
        settled,
    };
    enum class State {
        /// Still connecting: wait for settled.
        opening,
        ready,
        unavailable,
    };
    using EventHandler = std::function<void(Event)>;

    virtual ~AudioOutput() = default;

    /// Once, before all else: opens the device without waiting for it. After the destruction of the
    /// output the handler is not running and is never called again.
    virtual void open(EventHandler handler) = 0;
    /// The device to play on; none is the default one. May be called at any time, from any thread.
    virtual void setDevice(std::optional<std::string> uniqueID) = 0;

    virtual State state() const = 0;
    /// Valid while ready.
    virtual AudioOutputFormat format() const = 0;
    /// How many frames the buffer still takes.
    virtual std::size_t writableFrames() const = 0;
    /// Appends whole frames.
    virtual void write(std::span<const float> samples) = 0;
    /// Plays what is written.
    virtual void start() = 0;
    /// Stands still, with what is written kept, and lets the device sleep.
    virtual void stop() = 0;
    /// Drops what is written and not yet heard; frames count from zero again.
    virtual void flush() = 0;
    /// The latest measurement; none before the first frame was heard since start() or flush().
    virtual std::optional<AudioOutputPosition> position() const = 0;
};

} // namespace zelvane
