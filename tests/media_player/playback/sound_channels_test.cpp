// SPDX-License-Identifier: GPL-3.0-or-later
//
// A sound in each channel of each layout, from the decoder to a stereo device.

#include <array>
#include <bit>
#include <cmath>

#include <gtest/gtest.h>

#include "core_media/ffmpeg_error.h"
#include "media_player/decoders/audio/ffmpeg_audio_decoder.h"
#include "rendering/audio_format_converter.h"

namespace zelvane::test {
namespace {

constexpr int kFrames = 480;
constexpr int kLevel = 16000;
using Pair = std::array<double, 2>;

/// Decodes PCM in which one channel has a constant level. None when the layout is refused.
CMSampleBufferRef decoded(const AVChannelLayout& layout, int channel, AVCodecID codec) {
    const std::unique_ptr<AVFormatContext, Release<avformat_free_context>> context(
        avformat_alloc_context());
    AVStream* const stream = avformat_new_stream(context.get(), nullptr);
    stream->time_base = {1, 48000};
    stream->codecpar->codec_type = AVMEDIA_TYPE_AUDIO;
    stream->codecpar->codec_id = codec;
    stream->codecpar->sample_rate = 48000;
    av_channel_layout_copy(&stream->codecpar->ch_layout, &layout);
    FFmpegAudioDecoder decoder(*stream);
    ffmpeg::AVPacketHandle packet(av_packet_alloc());
    av_new_packet(packet.get(), kFrames * layout.nb_channels * 2);
    packet->pts = 0;
    auto* const samples = reinterpret_cast<std::int16_t*>(packet->data);
    const bool isPlanar = codec == AV_CODEC_ID_PCM_S16LE_PLANAR;
    for (int i = 0; i < kFrames * layout.nb_channels; ++i) {
        const int of = isPlanar ? i / kFrames : i % layout.nb_channels;
        samples[i] = of == channel ? kLevel : 0;
    }
    EXPECT_TRUE(decoder.startDecoding(Packet(std::move(packet))));
    EXPECT_TRUE(decoder.startDecoding(Packet()));
    return decoder.dequeueSampleBuffer();
}

Pair relative(float left, float right) {
    constexpr double kFullScale = 32768;
    return {left * kFullScale / kLevel, right * kFullScale / kLevel};
}

Pair heard(const AVChannelLayout& layout, int channel, AVCodecID codec) {
    const auto buffer = decoded(layout, channel, codec);
    AudioFormatConverter converter(*buffer->formatDescription()->audio(), {48000, 0x3}, 1);
    std::vector<float> output;
    converter.convert({buffer, 0, buffer->sampleCount(), false}, output);
    const std::size_t middle = output.size() / 4 * 2;
    return relative(output.at(middle), output.at(middle + 1));
}

/// What libswresample makes of the same channel by itself.
Pair mixedByLibrary(const AVChannelLayout& layout, int channel) {
    AVChannelLayout stereo = AV_CHANNEL_LAYOUT_STEREO;
    AVChannelLayout from = layout;
    SwrContext* made = nullptr;
    swr_alloc_set_opts2(&made, &stereo, AV_SAMPLE_FMT_FLT, 48000, &from, AV_SAMPLE_FMT_S16, 48000,
                        0, nullptr);
    const ffmpeg::Resampler resampler(made);
    av_opt_set_double(made, "rematrix_maxval", 1, 0);
    swr_init(made);
    std::vector<std::int16_t> input(static_cast<std::size_t>(layout.nb_channels));
    input.at(static_cast<std::size_t>(channel)) = kLevel;
    std::array<float, 2> output{};
    auto* target = reinterpret_cast<std::uint8_t*>(output.data());
    const auto* source = reinterpret_cast<const std::uint8_t*>(input.data());
    swr_convert(made, &target, 1, &source, 1);
    return relative(output[0], output[1]);
}

bool namesSide(const AVChannelLayout& layout, int channel, char side) {
    std::array<char, 16> name{};
    av_channel_name(name.data(), name.size(),
                    av_channel_layout_channel_from_index(&layout, static_cast<unsigned>(channel)));
    return std::string_view(name.data()).find(side, 1) != std::string_view::npos &&
           std::string_view(name.data()).find("LFE") == std::string_view::npos;
}

/// The library's mix for channels that it mixes; the side of the name for all others.
void expectHeardWhereItBelongs(const AVChannelLayout& layout, int channel, AVCodecID codec) {
    const auto [left, right] = heard(layout, channel, codec);
    constexpr std::uint64_t kPlaneOfTheEars = 0x7ff;
    if ((layout.u.mask & ~kPlaneOfTheEars) == 0) {
        const auto [expectedLeft, expectedRight] = mixedByLibrary(layout, channel);
        EXPECT_NEAR(left, expectedLeft, 1e-3);
        EXPECT_NEAR(right, expectedRight, 1e-3);
    } else if (namesSide(layout, channel, 'L')) {
        EXPECT_GT(left, std::abs(right) + 0.02);
    } else if (namesSide(layout, channel, 'R')) {
        EXPECT_GT(right, std::abs(left) + 0.02);
    } else {
        EXPECT_NEAR(left, right, 1e-3);
    }
}

AVChannelLayout nativeLayout(std::uint64_t mask) {
    return {AV_CHANNEL_ORDER_NATIVE, std::popcount(mask), {mask}, nullptr};
}

TEST(SoundChannels, areHeardWhereTheyBelong) {
    void* position = nullptr;
    std::vector<AVChannelLayout> layouts{
        nativeLayout(AV_CH_LAYOUT_5POINT1_BACK | AV_CH_TOP_FRONT_LEFT | AV_CH_TOP_FRONT_RIGHT)};
    while (const AVChannelLayout* layout = av_channel_layout_standard(&position)) {
        layouts.push_back(*layout);
    }
    for (const auto& layout : layouts) {
        std::array<char, 64> name{};
        av_channel_layout_describe(&layout, name.data(), name.size());
        for (const auto codec : {AV_CODEC_ID_PCM_S16LE, AV_CODEC_ID_PCM_S16LE_PLANAR}) {
            for (int channel = 0; channel < layout.nb_channels; ++channel) {
                SCOPED_TRACE(std::string(name.data()) + ", channel " + std::to_string(channel));
                expectHeardWhereItBelongs(layout, channel, codec);
            }
        }
    }
}

TEST(SoundChannels, withoutAPlaceAreAllHeard) {
    const AVChannelLayout discrete{AV_CHANNEL_ORDER_UNSPEC, 24, {0}, nullptr};
    for (int channel = 0; channel < discrete.nb_channels; ++channel) {
        const auto [left, right] = heard(discrete, channel, AV_CODEC_ID_PCM_S16LE);
        EXPECT_NEAR(left, 1.0 / 24, 1e-3);
        EXPECT_NEAR(right, 1.0 / 24, 1e-3);
    }
    const AVChannelLayout soundField{AV_CHANNEL_ORDER_AMBISONIC, 4, {0}, nullptr};
    const auto omnidirectional = heard(soundField, 0, AV_CODEC_ID_PCM_S16LE);
    const auto leftToRight = heard(soundField, 1, AV_CODEC_ID_PCM_S16LE);
    EXPECT_NEAR(omnidirectional[0], omnidirectional[1], 1e-3);
    EXPECT_NEAR(leftToRight[0], -leftToRight[1], 1e-3);
    EXPECT_GT(leftToRight[0], 0.4);
}

TEST(SoundChannels, thatCannotBeDescribedAreRefused) {
    const AVChannelLayout tooMany{AV_CHANNEL_ORDER_UNSPEC, 65, {0}, nullptr};
    EXPECT_THROW(decoded(tooMany, 0, AV_CODEC_ID_PCM_S16LE), FFmpegError);
    const AVChannelLayout unknown = nativeLayout(AV_CH_FRONT_LEFT | std::uint64_t{1} << 63);
    EXPECT_THROW(decoded(unknown, 0, AV_CODEC_ID_PCM_S16LE), FFmpegError);
}

} // namespace
} // namespace zelvane::test
