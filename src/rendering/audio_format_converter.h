// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <vector>

#include "core_media/cm_sample_buffer.h"
#include "core_media/ffmpeg_handles.h"
#include "rendering/audio_output.h"
#include "rendering/audio_queue.h"

namespace zelvane {

/// The AV_CH_ bits of a layout tag's channels; a frame has its samples in the order of the bits. 0
/// for an unknown tag.
std::uint64_t channelMaskForLayoutTag(AudioChannelLayoutTag tag);

/// Converts chunks of one source format to the device's format: sample type, channels and rate.
/// Output frame k is input frame k * sourceRate * speed / deviceRate. One thread at a time.
class AudioFormatConverter {
  public:
    /// `speed` other than 1 plays faster or slower, and higher or lower. Throws FFmpegError for
    /// what cannot be converted.
    AudioFormatConverter(const CMFormatDescription::Audio& source, const AudioOutputFormat& target,
                         double speed);

    /// Returns whether buffers have the format of this converter.
    bool accepts(const CMFormatDescription::Audio& source) const;
    /// Appends the converted frames to `output`.
    void convert(const AudioQueue::Chunk& chunk, std::vector<float>& output);
    /// Appends the frames that the filter still holds. Convert nothing afterwards.
    void drain(std::vector<float>& output);

  private:
    void pass(const std::uint8_t* data, std::int64_t frames, std::vector<float>& output);

    AudioStreamBasicDescription source_;
    AudioChannelLayoutTag layoutTag_;
    std::vector<AudioChannelLabel> labels_;
    int channelCount_;
    AVSampleFormat sampleFormat_;
    ffmpeg::Resampler resampler_;
    std::vector<std::uint8_t> input_;
};

} // namespace zelvane
