// SPDX-License-Identifier: GPL-3.0-or-later
#include <algorithm>
#include <fstream>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "media_player/decoders/audio/ffmpeg_audio_decoder.h"
#include "media_player/decoders/common/core_media_compatible_decode_session.h"
#include "tests/media_player/decoders/demuxed_stream.h"
#include "tests/support/clips.h"
#include "tests/support/log_capture.h"

namespace zelvane {
namespace {

namespace fs = std::filesystem;
using test::DemuxedStream;
using test::LogCapture;
using test::madeClip;

using Buffers = std::vector<CMSampleBufferRef>;

const AudioStreamBasicDescription& format(const CMSampleBufferRef& buffer) {
    return buffer->formatDescription()->audio()->streamDescription;
}

std::string samples(const Buffers& buffers) {
    std::string all;
    for (const auto& buffer : buffers) {
        const auto& data = *buffer->dataBuffer();
        const std::size_t start = all.size();
        all.resize(start + data.dataLength());
        EXPECT_TRUE(data.copyDataBytes(
            0, {reinterpret_cast<std::uint8_t*>(all.data()) + start, data.dataLength()}));
    }
    return all;
}

/// Feeds packets as a player does: a packet that fails is dropped.
Buffers decode(FFmpegAudioDecoder& decoder, const std::vector<PacketRef>& packets) {
    Buffers buffers;
    CoreMediaCompatibleDecodeSession session(
        decoder, [&](const CMSampleBufferRef& buffer) { buffers.push_back(buffer); });
    for (const auto& packet : packets) {
        try {
            session.decode(packet);
        } catch (const FFmpegError&) {
            continue;
        }
    }
    session.finish();
    return buffers;
}

std::string contents(const fs::path& path) {
    std::ifstream stream(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

/// What ffmpeg itself makes of a file's first audio stream.
std::string samplesByFFmpeg(const fs::path& clip, const std::string& rawFormat) {
    const fs::path made = madeClip(
        clip.filename().string() + "." + rawFormat,
        {"-i", clip.string(), "-map", "0:a:0", "-c:a", "pcm_" + rawFormat, "-f", rawFormat});
    return contents(made);
}

std::string rawFormatName(AVSampleFormat sampleFormat) {
    switch (av_get_packed_sample_fmt(sampleFormat)) {
    case AV_SAMPLE_FMT_U8:
        return "u8";
    case AV_SAMPLE_FMT_S16:
        return "s16le";
    case AV_SAMPLE_FMT_S32:
        return "s32le";
    case AV_SAMPLE_FMT_FLT:
        return "f32le";
    default:
        return "f64le";
    }
}

void expectAllSamples(const fs::path& clip) {
    const DemuxedStream stream(clip, AVMEDIA_TYPE_AUDIO);
    FFmpegAudioDecoder decoder(stream.stream());
    const auto buffers = decode(decoder, stream.packets());
    const std::string decoded = samples(buffers);
    const std::string expected =
        samplesByFFmpeg(clip, rawFormatName(decoder.audioProperties().sampleFormat));
    ASSERT_FALSE(buffers.empty());
    EXPECT_EQ(decoded.size(), expected.size());
    EXPECT_TRUE(decoded == expected);
    for (const auto& buffer : buffers) {
        EXPECT_GE(buffer->sampleCount(), 1);
        // A second, and at most one decoded frame on top.
        EXPECT_LT(buffer->sampleCount(), format(buffer).mSampleRate * 2);
    }
}

TEST(AudioDecoder, decodesEachSampleOfRealFilesAsFFmpegDoes) {
    ZELVANE_NEEDS_SHARED_MEDIA(media);
    for (const char* name : {
             "androidx_bbb_6ch_8kHz_opus.ogg",
             "androidx_bbb_mono_16kHz_23.05kbps_amrwb.3gp",
             "androidx_bear-opus-negative-gain.mka",
             "androidx_bear_uncommon_sample_rate.flac",
             "androidx_sample.eac3",
             "androidx_sample_192khz.wav",
             "androidx_sample_8bit.wav",
             "androidx_sample_alac.mp4",
             "androidx_sample_alac_20bit.mp4",
             "androidx_sample_av1.mp4",
             "androidx_sample_dthd.mp4",
             "androidx_sample_eac3joc.mp4",
             "androidx_sample_float64.wav",
             "androidx_sample_ima_adpcm.wav",
             "androidx_sample_ipcm_24le.mp4",
             "androidx_sample_latm.ts",
             "androidx_sample_mp2_audio.mp4",
             "androidx_sample_twos_pcm.mp4",
             "androidx_sample_with_dts_express.mka",
             "androidx_sample_with_dts_hd_ma.mkv",
             "androidx_sine_24le.wav",
             "fate_aac_3ch.mp4",
             "fate_aac_51_96k.mp4",
             "fate_pcitva15.avi",
             "fate_wmavoice_11K.wma",
             "fate_wmv8_x8intra.wmv",
             "fate_xll_71_24_48_768_0.dtshd",
             "flactest_39_-_4_channels_4.0.flac",
             "flactest_43_-_8_channels_7.1.flac",
             "fq_mp3.mp4",
             "gen_layout_7_1.m4a",
             "gen_truehd_51.mkv",
             "gstrs_audiotestsrc-1ch-48kHz.ac3",
             "moviepy_transparent.webm",
         }) {
        SCOPED_TRACE(name);
        expectAllSamples(media / "codecs" / name);
    }
}

TEST(AudioDecoder, interleavedFramesAreNotCopied) {
    ZELVANE_NEEDS_SHARED_MEDIA(media);
    const DemuxedStream stream(media / "codecs" / "androidx_sample_192khz.wav", AVMEDIA_TYPE_AUDIO);
    FFmpegAudioDecoder decoder(stream.stream());
    const auto buffers = decode(decoder, stream.packets());
    ASSERT_EQ(buffers.size(), 1U);
    EXPECT_GT(buffers[0]->dataBuffer()->blockCount(), 1U);
}

TEST(AudioDecoder, aChangeOfChannelsBeginsANewBuffer) {
    ZELVANE_NEEDS_SHARED_MEDIA(media);
    const DemuxedStream stream(
        media / "codecs" / "flactest_02_-_increasing_number_of_channels.flac", AVMEDIA_TYPE_AUDIO);
    FFmpegAudioDecoder decoder(stream.stream());
    const auto buffers = decode(decoder, stream.packets());
    std::vector<std::uint32_t> counts;
    for (const auto& buffer : buffers) {
        EXPECT_EQ(format(buffer).mChannelsPerFrame,
                  buffer->formatDescription()->audio()->channelLayoutTag & 0xffff);
        if (counts.empty() || counts.back() != format(buffer).mChannelsPerFrame) {
            counts.push_back(format(buffer).mChannelsPerFrame);
        }
    }
    EXPECT_EQ(counts, (std::vector<std::uint32_t>{1, 2, 6}));
}

TEST(AudioDecoder, refusesWhatItCannotDecode) {
    ZELVANE_NEEDS_SHARED_MEDIA(media);
    const auto thrownCase = [](const AVStream& stream) -> std::optional<FFmpegError> {
        try {
            FFmpegAudioDecoder decoder(stream);
            return std::nullopt;
        } catch (const FFmpegError& error) {
            return error;
        }
    };
    const DemuxedStream picture(media / "codecs" / "androidx_sample_av1.mp4", AVMEDIA_TYPE_VIDEO);
    EXPECT_EQ(thrownCase(picture.stream()),
              FFmpegError::simple(FFmpegError::Case::unsupportedMediaType));
    const DemuxedStream unknown(media / "codecs" / "androidx_sample_mhm1_bl_cicp1.mp4",
                                AVMEDIA_TYPE_AUDIO);
    EXPECT_EQ(thrownCase(unknown.stream()),
              FFmpegError::decoderNotFound(AV_CODEC_ID_MPEGH_3D_AUDIO));
}

/// A stream of bare PCM at a time base of choice: one byte a sample, the sample's value its number.
class PCMStream {
  public:
    PCMStream(AVRational timeBase, int sampleRate, int channelCount = 1) {
        context_.reset(avformat_alloc_context());
        stream_ = avformat_new_stream(context_.get(), nullptr);
        stream_->time_base = timeBase;
        auto& parameters = *stream_->codecpar;
        parameters.codec_type = AVMEDIA_TYPE_AUDIO;
        parameters.codec_id = AV_CODEC_ID_PCM_U8;
        parameters.format = AV_SAMPLE_FMT_U8;
        parameters.sample_rate = sampleRate;
        av_channel_layout_default(&parameters.ch_layout, channelCount);
    }

    const AVStream& stream() const { return *stream_; }

    PacketRef packet(std::int64_t pts, int frameCount) {
        ffmpeg::AVPacketHandle packet(av_packet_alloc());
        av_new_packet(packet.get(), frameCount * stream_->codecpar->ch_layout.nb_channels);
        std::generate_n(packet->data, packet->size, [this] { return next_++; });
        packet->pts = pts;
        packet->dts = pts;
        return std::make_shared<const Packet>(std::move(packet));
    }

  private:
    std::unique_ptr<AVFormatContext, Release<avformat_free_context>> context_;
    AVStream* stream_ = nullptr;
    std::uint8_t next_ = 0;
};

/// "start+count" of each buffer, in seconds of a rate of 1000.
std::vector<std::string> spans(const Buffers& buffers) {
    std::vector<std::string> texts;
    for (const auto& buffer : buffers) {
        const auto start = buffer->presentationTimeStamp().convertScale(
            1000, CMTimeRoundingMethod::roundTowardZero);
        texts.push_back(std::to_string(start.value()) + "+" +
                        std::to_string(buffer->sampleCount()));
    }
    return texts;
}

using Spans = std::vector<std::string>;

TEST(AudioDecoder, exactStampsShowGapsAndCoarseOnesDoNot) {
    struct Case {
        std::string what;
        AVRational timeBase;
        std::vector<std::int64_t> stamps;
        Spans spans;
    };
    constexpr auto kNone = AV_NOPTS_VALUE;
    const std::vector<Case> cases{
        {"contiguous", {1, 1000}, {5, 105, 205}, {"5+300"}},
        {"a jump of one sample", {1, 1000}, {0, 100, 201}, {"0+200", "201+100"}},
        {"a step back", {1, 1000}, {0, 100, 150}, {"0+200", "150+100"}},
        {"missing stamps are counted", {1, 1000}, {7, kNone, kNone}, {"7+300"}},
        {"not exact: another base", {1, 2000}, {0, 200, 402}, {"0+300"}},
        {"not exact: a numerator", {2, 1000}, {0, 50, 101}, {"0+300"}},
        {"coarse stamps count from the first", {1, 10}, {3, kNone, 9}, {"300+300"}},
    };
    for (const auto& [what, timeBase, stamps, expected] : cases) {
        PCMStream pcm(timeBase, 1000);
        FFmpegAudioDecoder decoder(pcm.stream());
        std::vector<PacketRef> packets;
        packets.reserve(stamps.size());
        for (const auto stamp : stamps) {
            packets.push_back(pcm.packet(stamp, 100));
        }
        const auto buffers = decode(decoder, packets);
        EXPECT_EQ(spans(buffers), expected) << what;
        const std::string decoded = samples(buffers);
        for (std::size_t i = 0; i < decoded.size(); ++i) {
            ASSERT_EQ(static_cast<std::uint8_t>(decoded[i]), i % 256) << what;
        }
    }
}

TEST(AudioDecoder, framesWithoutAStampAreTimedByThoseAfterThem) {
    // A packet has six frames, and its stamp is that of the first. The first two are lost.
    const auto clip =
        madeClip("stamps-wma.wav", "-f lavfi -i anoisesrc=r=48000:d=2:seed=1 -ac 2 -c:a wmav2");
    const DemuxedStream stream(clip, AVMEDIA_TYPE_AUDIO);
    const auto packets = stream.packets();
    FFmpegAudioDecoder decoder(stream.stream());
    const auto buffers = decode(decoder, packets);
    ASSERT_FALSE(buffers.empty());
    constexpr int kFourFrames = 4 * 2048;
    EXPECT_EQ(buffers[0]->presentationTimeStamp(),
              CMTime(packets[1]->avPacket().pts - kFourFrames, 48000));
}

TEST(AudioDecoder, aBufferLeavesOnceItHoldsASecond) {
    PCMStream pcm({1, 1000}, 1000);
    FFmpegAudioDecoder decoder(pcm.stream());
    constexpr std::size_t kPackets = 8;
    std::vector<PacketRef> packets;
    packets.reserve(kPackets);
    for (int i = 0; packets.size() < kPackets; ++i) {
        packets.push_back(pcm.packet(i * 300, 300));
    }
    EXPECT_EQ(spans(decode(decoder, packets)), (Spans{"0+1200", "1200+1200"}));
}

TEST(AudioDecoder, aSeekBeginsAtItsOwnStamp) {
    PCMStream pcm({1, 90000}, 1000);
    FFmpegAudioDecoder decoder(pcm.stream());
    ASSERT_TRUE(decoder.startDecoding(*pcm.packet(0, 100)));
    EXPECT_EQ(decoder.dequeueSampleBuffer(), nullptr);
    decoder.flush();
    EXPECT_EQ(spans(decode(decoder, {pcm.packet(9 * 90000, 100), pcm.packet(20 * 90000, 100)})),
              (Spans{"9000+200"}));
    decoder.flush();
    EXPECT_EQ(spans(decode(decoder, {pcm.packet(90000, 100)})), (Spans{"1000+100"}));
}

TEST(AudioDecoder, aFrameThatNothingTimesFails) {
    PCMStream pcm({0, 1}, 1000);
    FFmpegAudioDecoder decoder(pcm.stream());
    ASSERT_TRUE(decoder.startDecoding(*pcm.packet(0, 100)));
    try {
        decoder.dequeueSampleBuffer();
        ADD_FAILURE() << "a frame without a time came out";
    } catch (const FFmpegError& error) {
        EXPECT_EQ(error, FFmpegError::simple(FFmpegError::Case::noPresentationTimestamp));
    }
}

TEST(AudioDecoder, aCorruptPacketCostsNoSoundBeforeIt) {
    const LogCapture log;
    PCMStream pcm({1, 1000}, 1000, 2);
    FFmpegAudioDecoder decoder(pcm.stream());
    // One byte is no frame of two channels.
    ffmpeg::AVPacketHandle half(av_packet_alloc());
    av_new_packet(half.get(), 1);
    const auto corrupt = std::make_shared<const Packet>(std::move(half));
    const auto buffers = decode(decoder, {pcm.packet(0, 100), pcm.packet(100, 100), corrupt,
                                          pcm.packet(300, 100), corrupt, pcm.packet(500, 100)});
    EXPECT_EQ(spans(buffers), (Spans{"0+200", "300+100", "500+100"}));
    EXPECT_GE(log.count("the FFmpeg function at line"), 2U);
}

/// The packets with some bytes turned, the same ones at each run.
std::vector<PacketRef> spoiled(const std::vector<PacketRef>& packets, unsigned seed) {
    std::mt19937 random(seed);
    std::vector<PacketRef> result;
    for (const auto& packet : packets) {
        ffmpeg::AVPacketHandle copy(av_packet_alloc());
        EXPECT_EQ(av_packet_ref(copy.get(), &packet->avPacket()), 0);
        EXPECT_EQ(av_packet_make_writable(copy.get()), 0);
        for (int i = 0; i < 3 && copy->size > 0 && random() % 2 == 0; ++i) {
            copy->data[random() % static_cast<unsigned>(copy->size)] ^=
                static_cast<std::uint8_t>(1U << random() % 8);
        }
        result.push_back(std::make_shared<const Packet>(std::move(copy)));
    }
    return result;
}

TEST(AudioDecoder, playsOnAfterAnyDamage) {
    ZELVANE_NEEDS_SHARED_MEDIA(media);
    const LogCapture log;
    for (const char* name :
         {"androidx_sample_av1.mp4", "androidx_sample_with_dts_hd_ma.mkv", "gen_truehd_51.mkv",
          "flactest_41_-_6_channels_5.1.flac", "androidx_opus-5.1.mka", "fate_wmavoice_11K.wma",
          "androidx_sample_alac.mp4", "moviepy_transparent.webm", "androidx_sample_latm.ts",
          "androidx_sample_eac3joc.mp4"}) {
        const DemuxedStream stream(media / "codecs" / name, AVMEDIA_TYPE_AUDIO);
        const auto packets = stream.packets();
        FFmpegAudioDecoder decoder(stream.stream());
        decode(decoder, packets);
        decoder.flush();
        // The second time: a codec's first samples are left out only once.
        const std::string clean = samples(decode(decoder, packets));
        EXPECT_FALSE(clean.empty()) << name;
        for (unsigned seed = 0; seed < 4; ++seed) {
            decoder.flush();
            decode(decoder, spoiled(packets, seed));
        }
        decoder.flush();
        EXPECT_EQ(samples(decode(decoder, packets)).size(), clean.size()) << name;
    }
}

} // namespace
} // namespace zelvane
