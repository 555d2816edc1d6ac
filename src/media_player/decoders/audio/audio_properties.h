// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <vector>

#include "core_media/audio_format.h"
#include "core_media/cm_sample_buffer.h"
#include "core_media/ffmpeg.h"
#include "media_player/decoders/audio/audio_channel_layout.h"

namespace zelvane {

/// Properties that can change from one decoded frame to the next.
struct BufferLevelProperties {
    /// Hertz.
    int sampleRate = 0;
    int channelCount = 0;
    /// AV_CH_… bits; 0 when FFmpeg does not know which channels they are.
    std::uint64_t ffmpegChannelLayout = 0;
    /// The channels without a bit are the components of a sound field.
    bool isAmbisonic = false;
    friend bool operator==(const BufferLevelProperties&, const BufferLevelProperties&) = default;
};

BufferLevelProperties bufferLevelProperties(int sampleRate, const AVChannelLayout& layout);

/// The interleaved PCM of sample buffers.
struct SampleBufferFormat {
    CMFormatDescriptionRef description;
    /// Which channel of a decoded frame each channel is; empty when the orders agree.
    std::vector<std::uint8_t> channelMap;
};

/// The PCM that an audio decoder makes. A value.
struct AudioProperties {
    /// Of an open context. Throws unknownAudioSampleSize or unknownSampleFormat.
    explicit AudioProperties(const AVCodecContext& decoderContext);
    AudioProperties(AVSampleFormat format, int bitsPerRawSample, BufferLevelProperties properties);

    /// Throws FFmpegError for channels that cannot be described.
    AudioChannels channels() const;
    /// Throws as channels(), and logs a layout that was guessed.
    SampleBufferFormat makeSampleBufferFormat() const;

    BufferLevelProperties bufferLevelProperties;
    AVSampleFormat sampleFormat;
    /// Without kAudioFormatFlagIsNonInterleaved.
    AudioFormatFlags audioFormatFlags = 0;
    /// The decoder gives each channel in a buffer of its own.
    bool needsConversionToInterleaved = false;
    /// Of one channel.
    int bytesPerSample = 0;
    /// Significant bits of one channel's sample, which may be fewer than its bytes hold.
    int bitsPerSample = 0;
};

/// The memory format of samples, with kAudioFormatFlagIsNonInterleaved for planar ones. Logs and
/// throws unknownSampleFormat.
AudioFormatFlags audioFormatFlags(AVSampleFormat format);

} // namespace zelvane
