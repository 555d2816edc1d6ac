// SPDX-License-Identifier: GPL-3.0-or-later
#include "media_player/decoders/audio/audio_properties.h"

#include <utility>

#include "core_media/ffmpeg_error.h"
#include "foundation/log.h"

namespace zelvane {
namespace {

AudioFormatFlags sampleKindFlags(AVSampleFormat packedFormat) {
    switch (packedFormat) {
    case AV_SAMPLE_FMT_U8:
        return kAudioFormatFlagIsAlignedHigh;
    case AV_SAMPLE_FMT_S16:
    case AV_SAMPLE_FMT_S32:
    case AV_SAMPLE_FMT_S64:
        return kAudioFormatFlagIsAlignedHigh | kAudioFormatFlagIsSignedInteger;
    case AV_SAMPLE_FMT_FLT:
    case AV_SAMPLE_FMT_DBL:
        return kAudioFormatFlagIsAlignedHigh | kAudioFormatFlagIsFloat;
    default:
        return 0;
    }
}

int sampleSize(AVSampleFormat format) {
    const int size = av_get_bytes_per_sample(format);
    if (size < 1) {
        logMessage("av_get_bytes_per_sample returned error: Unknown sample size for sample format "
                   "{}..",
                   static_cast<int>(format));
        throw FFmpegError::unknownAudioSampleSize(format);
    }
    return size;
}

std::uint32_t frameSize(int channelCount, int bytesPerSample) {
    std::uint32_t size = 0;
    if (__builtin_mul_overflow(channelCount, bytesPerSample, &size)) {
        fatalError("The size of an audio frame does not fit 32 bits.");
    }
    return size;
}

} // namespace

AudioFormatFlags audioFormatFlags(AVSampleFormat format) {
    const AudioFormatFlags kind = sampleKindFlags(av_get_packed_sample_fmt(format));
    if (kind == 0) {
        logMessage("Could not initialize AudioFormatFlags: Unknown sample format {}..",
                   static_cast<int>(format));
        throw FFmpegError::unknownSampleFormat(format);
    }
    return av_sample_fmt_is_planar(format) != 0 ? kind | kAudioFormatFlagIsNonInterleaved : kind;
}

BufferLevelProperties bufferLevelProperties(int sampleRate, const AVChannelLayout& layout) {
    const bool isAmbisonic = layout.order == AV_CHANNEL_ORDER_AMBISONIC;
    const bool hasMask = isAmbisonic || layout.order == AV_CHANNEL_ORDER_NATIVE;
    return {sampleRate, layout.nb_channels, hasMask ? layout.u.mask : 0, isAmbisonic};
}

AudioProperties::AudioProperties(const AVCodecContext& decoderContext)
    : AudioProperties(
          decoderContext.sample_fmt, decoderContext.bits_per_raw_sample,
          zelvane::bufferLevelProperties(decoderContext.sample_rate, decoderContext.ch_layout)) {}

AudioProperties::AudioProperties(AVSampleFormat format, int bitsPerRawSample,
                                 BufferLevelProperties properties)
    : bufferLevelProperties(properties), sampleFormat(format) {
    bytesPerSample = sampleSize(format);
    const AudioFormatFlags flags = zelvane::audioFormatFlags(format);
    needsConversionToInterleaved = (flags & kAudioFormatFlagIsNonInterleaved) != 0;
    audioFormatFlags = flags & ~kAudioFormatFlagIsNonInterleaved;
    bitsPerSample = bitsPerRawSample >= 1 ? bitsPerRawSample : bytesPerSample * 8;
}

AudioChannels AudioProperties::channels() const {
    return audioChannels(bufferLevelProperties.ffmpegChannelLayout,
                         bufferLevelProperties.channelCount, bufferLevelProperties.isAmbisonic);
}

SampleBufferFormat AudioProperties::makeSampleBufferFormat() const {
    const auto& [sampleRate, channelCount, channelMask, isAmbisonic] = bufferLevelProperties;
    AudioChannels described = channels();
    if (channelMask == 0 && described.labels.empty()) {
        logMessage("FFmpeg did not provide a channel layout, so using the default standard layout "
                   "for {} channels: {}.",
                   channelCount, described.tag);
    }
    CMFormatDescription::Audio audio;
    audio.channelLayoutTag = described.tag;
    audio.channelLabels = std::move(described.labels);
    auto& stream = audio.streamDescription;
    stream.mSampleRate = sampleRate;
    stream.mFormatID = kAudioFormatLinearPCM;
    stream.mFormatFlags = audioFormatFlags;
    stream.mBytesPerFrame = frameSize(channelCount, bytesPerSample);
    stream.mBytesPerPacket = stream.mBytesPerFrame;
    stream.mFramesPerPacket = 1;
    stream.mChannelsPerFrame = static_cast<std::uint32_t>(channelCount);
    stream.mBitsPerChannel = static_cast<std::uint32_t>(bitsPerSample);
    return {CMFormatDescription::ofAudio(std::move(audio)), std::move(described.channelMap)};
}

} // namespace zelvane
