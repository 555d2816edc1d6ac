// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>

#include "core_media/audio_format.h"
#include "core_media/cm_sample_buffer.h"
#include "core_media/ffmpeg.h"

namespace zelvane {

/// What may change from one decoded frame to the next.
struct BufferLevelProperties {
    /// Hertz.
    int sampleRate = 0;
    int channelCount = 0;
    /// AV_CH_… bits; 0 when FFmpeg does not know which channels they are.
    std::uint64_t ffmpegChannelLayout = 0;
    friend bool operator==(const BufferLevelProperties&, const BufferLevelProperties&) = default;
};

BufferLevelProperties bufferLevelProperties(int sampleRate, const AVChannelLayout& layout);

/// The PCM that an audio decoder makes. A value.
struct AudioProperties {
    /// Of an open context. Throws unknownAudioSampleSize or unknownSampleFormat.
    explicit AudioProperties(const AVCodecContext& decoderContext);
    AudioProperties(AVSampleFormat format, int bitsPerRawSample, BufferLevelProperties properties);

    /// The interleaved PCM that sample buffers hold. Throws FFmpegError for channels that have no
    /// layout tag.
    CMFormatDescriptionRef makeAudioFormatDescription() const;

    BufferLevelProperties bufferLevelProperties;
    AVSampleFormat sampleFormat;
    /// Without kAudioFormatFlagIsNonInterleaved.
    AudioFormatFlags audioFormatFlags = 0;
    /// The decoder gives each channel in a buffer of its own.
    bool needsConversionToInterleaved = false;
    /// Of one channel.
    int bytesPerSample = 0;
    /// Of one channel: those that carry sound, which may be fewer than the bytes hold.
    int bitsPerSample = 0;
};

/// How samples of a format lie in memory, kAudioFormatFlagIsNonInterleaved among it. Logs and
/// throws unknownSampleFormat.
AudioFormatFlags audioFormatFlags(AVSampleFormat format);

} // namespace zelvane
