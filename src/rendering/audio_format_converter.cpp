// SPDX-License-Identifier: GPL-3.0-or-later
#include "rendering/audio_format_converter.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <map>

#include "core_media/ffmpeg_error.h"
#include "rendering/audio_channel_mix.h"

namespace zelvane {
namespace {

const std::map<AudioChannelLayoutTag, std::uint64_t>& layoutMasks() {
    static const std::map<AudioChannelLayoutTag, std::uint64_t> masks{
        {kAudioChannelLayoutTag_Mono, AV_CH_LAYOUT_MONO},
        {kAudioChannelLayoutTag_Stereo, AV_CH_LAYOUT_STEREO},
        {kAudioChannelLayoutTag_Binaural, AV_CH_LAYOUT_STEREO},
        {kAudioChannelLayoutTag_AC3_1_0_1, AV_CH_LAYOUT_MONO | AV_CH_LOW_FREQUENCY},
        {kAudioChannelLayoutTag_ITU_2_1, AV_CH_LAYOUT_2_1},
        {kAudioChannelLayoutTag_ITU_2_2, AV_CH_LAYOUT_QUAD},
        {kAudioChannelLayoutTag_DVD_4, AV_CH_LAYOUT_2POINT1},
        {kAudioChannelLayoutTag_DVD_5, AV_CH_LAYOUT_2_1 | AV_CH_LOW_FREQUENCY},
        {kAudioChannelLayoutTag_DVD_6, AV_CH_LAYOUT_QUAD | AV_CH_LOW_FREQUENCY},
        {kAudioChannelLayoutTag_MPEG_3_0_A, AV_CH_LAYOUT_SURROUND},
        {kAudioChannelLayoutTag_MPEG_4_0_A, AV_CH_LAYOUT_4POINT0},
        {kAudioChannelLayoutTag_MPEG_5_0_A, AV_CH_LAYOUT_5POINT0_BACK},
        {kAudioChannelLayoutTag_DVD_10, AV_CH_LAYOUT_3POINT1},
        {kAudioChannelLayoutTag_DVD_11, AV_CH_LAYOUT_4POINT1},
        {kAudioChannelLayoutTag_MPEG_5_1_A, AV_CH_LAYOUT_5POINT1_BACK},
        {kAudioChannelLayoutTag_MPEG_6_1_A, AV_CH_LAYOUT_6POINT1_BACK},
        {kAudioChannelLayoutTag_MPEG_7_1_A, AV_CH_LAYOUT_7POINT1_WIDE_BACK},
        {kAudioChannelLayoutTag_MPEG_7_1_C, AV_CH_LAYOUT_7POINT1},
    };
    return masks;
}

/// Channels that are described by labels get any mask of their number: a matrix mixes them.
std::uint64_t sourceMask(const CMFormatDescription::Audio& source) {
    const auto mask = channelMaskForLayoutTag(source.channelLayoutTag);
    constexpr unsigned kMaskBits = 64;
    return mask != 0
               ? mask
               : ~std::uint64_t{0} >>
                     (kMaskBits - std::min(kMaskBits, source.streamDescription.mChannelsPerFrame));
}

AVSampleFormat sampleFormat(const AudioStreamBasicDescription& description) {
    const auto bytes = description.mBytesPerFrame / description.mChannelsPerFrame;
    if ((description.mFormatFlags & kAudioFormatFlagIsFloat) != 0) {
        return bytes == 4 ? AV_SAMPLE_FMT_FLT : bytes == 8 ? AV_SAMPLE_FMT_DBL : AV_SAMPLE_FMT_NONE;
    }
    if ((description.mFormatFlags & kAudioFormatFlagIsSignedInteger) == 0) {
        return bytes == 1 ? AV_SAMPLE_FMT_U8 : AV_SAMPLE_FMT_NONE;
    }
    switch (bytes) {
    case 2:
        return AV_SAMPLE_FMT_S16;
    case 4:
        return AV_SAMPLE_FMT_S32;
    case 8:
        return AV_SAMPLE_FMT_S64;
    default:
        return AV_SAMPLE_FMT_NONE;
    }
}

/// The factor of both rates, with which whole numbers express a speed to a millionth.
int rateFactor(double speed) {
    return speed == 1 ? 1 : 64;
}

} // namespace

std::uint64_t channelMaskForLayoutTag(AudioChannelLayoutTag tag) {
    const auto found = layoutMasks().find(tag);
    return found == layoutMasks().end() ? 0 : found->second;
}

int AudioOutputFormat::channelCount() const {
    return std::popcount(channelMask);
}

AudioFormatConverter::AudioFormatConverter(const CMFormatDescription::Audio& source,
                                           const AudioOutputFormat& target, double speed)
    : source_(source.streamDescription), layoutTag_(source.channelLayoutTag),
      labels_(source.channelLabels), channelCount_(target.channelCount()),
      sampleFormat_(sampleFormat(source_)) {
    if (sampleFormat_ == AV_SAMPLE_FMT_NONE) {
        throw FFmpegError::unknownSampleFormat(sampleFormat_);
    }
    AVChannelLayout from{};
    AVChannelLayout to{};
    av_channel_layout_from_mask(&from, sourceMask(source));
    av_channel_layout_from_mask(&to, target.channelMask);
    const int factor = rateFactor(speed);
    SwrContext* context = nullptr;
    const int status = swr_alloc_set_opts2(
        &context, &to, AV_SAMPLE_FMT_FLT, target.sampleRate * factor, &from, sampleFormat_,
        static_cast<int>(std::lround(source_.mSampleRate * speed * factor)), 0, nullptr);
    resampler_.reset(context);
    av_channel_layout_uninit(&from);
    av_channel_layout_uninit(&to);
    checkedFFmpegCall([&] { return status; });
    // A mix of more channels into fewer must not exceed full scale.
    checkedFFmpegCall([&] { return av_opt_set_double(context, "rematrix_maxval", 1.0, 0); });
    if (!labels_.empty()) {
        const auto mix = audioChannelMix(labels_, target.channelMask);
        checkedFFmpegCall(
            [&] { return swr_set_matrix(context, mix.data(), static_cast<int>(labels_.size())); });
    }
    checkedFFmpegCall([&] { return swr_init(context); });
}

bool AudioFormatConverter::accepts(const CMFormatDescription::Audio& source) const {
    return source.streamDescription == source_ && source.channelLayoutTag == layoutTag_ &&
           source.channelLabels == labels_;
}

void AudioFormatConverter::convert(const AudioQueue::Chunk& chunk, std::vector<float>& output) {
    const auto bytesPerFrame = static_cast<std::size_t>(source_.mBytesPerFrame);
    input_.resize(static_cast<std::size_t>(chunk.frameCount) * bytesPerFrame);
    const auto offset = static_cast<std::size_t>(chunk.frame) * bytesPerFrame;
    if (chunk.isSilence || !chunk.buffer->dataBuffer()->copyDataBytes(offset, input_)) {
        constexpr int kMidscale = 0x80;
        std::fill(input_.begin(), input_.end(), sampleFormat_ == AV_SAMPLE_FMT_U8 ? kMidscale : 0);
    }
    pass(input_.data(), chunk.frameCount, output);
}

void AudioFormatConverter::drain(std::vector<float>& output) {
    pass(nullptr, 0, output);
}

void AudioFormatConverter::pass(const std::uint8_t* data, std::int64_t frames,
                                std::vector<float>& output) {
    const int room = swr_get_out_samples(resampler_.get(), static_cast<int>(frames));
    if (room <= 0) {
        return;
    }
    const auto channels = static_cast<std::size_t>(channelCount_);
    const auto before = output.size();
    output.resize(before + static_cast<std::size_t>(room) * channels);
    auto* target = reinterpret_cast<std::uint8_t*>(output.data() + before);
    const int made = swr_convert(resampler_.get(), &target, room, data == nullptr ? nullptr : &data,
                                 static_cast<int>(frames));
    output.resize(before + static_cast<std::size_t>(std::max(made, 0)) * channels);
}

} // namespace zelvane
