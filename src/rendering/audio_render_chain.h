// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <vector>

#include "rendering/audio_format_converter.h"
#include "rendering/audio_output.h"
#include "rendering/audio_queue.h"
#include "rendering/queued_sample_buffer_rendering.h"
#include "rendering/time_stretcher.h"

namespace zelvane {

/// Makes device frames of queued buffers. Device frame k, counted from the start, is media time
/// `time + k * rate / sampleRate` in each step: filling gaps, trimming late parts, converting
/// formats and stretching time. One thread at a time.
class AudioRenderChain {
  public:
    /// Reads from a cursor, as AudioQueue::read.
    using Reader = std::function<std::optional<AudioQueue::Chunk>(AudioQueue::Cursor&,
                                                                  std::int64_t maxFrames)>;

    AudioRenderChain(const AudioOutputFormat& format, const CMTime& time, double rate,
                     AVAudioTimePitchAlgorithm algorithm);

    /// Makes frames until `target` is full or `reader` has no more. Returns their number. With
    /// `fillsSilence` missing sound becomes silence; sound that arrives later for that time is
    /// late.
    std::size_t render(const Reader& reader, std::span<float> target, bool fillsSilence);

  private:
    bool advance(const Reader& reader, bool fillsSilence);
    void feed(const AudioQueue::Chunk& chunk);
    void feedConverted();
    void feedSilence();
    bool prepareConverter(const CMFormatDescriptionRef& description);
    void makeConverter(const CMFormatDescription::Audio& source);
    void appendSilence(double seconds);
    std::size_t take(std::span<float> target);

    const AudioOutputFormat format_;
    const double rate_;
    const bool keepsPitch_;
    AudioQueue::Cursor cursor_;
    std::optional<AudioFormatConverter> converter_;
    /// A format that cannot be converted; it becomes silence.
    std::optional<AudioStreamBasicDescription> refused_;
    /// Silence has the format of this buffer.
    CMSampleBufferRef latest_;
    std::unique_ptr<TimeStretcher> stretcher_;
    std::vector<float> converted_;
    /// Frames not yet taken, from `taken_` on.
    std::vector<float> ready_;
    std::size_t taken_ = 0;
};

} // namespace zelvane
