// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <vector>

#include "core_media/cm_sample_buffer.h"
#include "core_media/ffmpeg_handles.h"
#include "rendering/audio_output.h"
#include "rendering/audio_queue.h"

namespace zelvane {

/// FFmpeg's AV_CH_ bits of a layout tag's channels, in whose order the samples of a frame lie. 0
/// for a tag that names no layout known here.
std::uint64_t channelMaskForLayoutTag(AudioChannelLayoutTag tag);

/// Turns runs of one source format into the device's format, in one step: sample type, channels and
/// rate. Output frame k is input frame k * sourceRate * speed / deviceRate. One thread at a time.
class AudioFormatConverter {
  public:
    /// `speed` other than 1 plays faster or slower, and higher or lower. Throws FFmpegError for
    /// what cannot be converted.
    AudioFormatConverter(const CMFormatDescription::Audio& source, const AudioOutputFormat& target,
                         double speed);

    /// Whether it takes buffers of this format.
    bool accepts(const CMFormatDescription::Audio& source) const;
    /// Appends to `output` what has come through.
    void convert(const AudioQueue::Chunk& chunk, std::vector<float>& output);
    /// Appends what was held back; nothing may be converted afterwards.
    void drain(std::vector<float>& output);

  private:
    void pass(const std::uint8_t* data, std::int64_t frames, std::vector<float>& output);

    AudioStreamBasicDescription source_;
    AudioChannelLayoutTag layoutTag_;
    int channelCount_;
    AVSampleFormat sampleFormat_;
    ffmpeg::Resampler resampler_;
    std::vector<std::uint8_t> input_;
};

} // namespace zelvane
