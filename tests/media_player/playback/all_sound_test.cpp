// SPDX-License-Identifier: GPL-3.0-or-later
//
// As many samples reach the renderer as libavcodec decodes, straight after opening and after a seek
// to the start.

#include <fmt/format.h>
#include <gtest/gtest.h>

#include "core_media/ffmpeg_error.h"
#include "media_player/decoders/common/ffmpeg_decoding.h"
#include "media_player/media_source/media_source.h"
#include "media_player/playback/audio_data_provider.h"
#include "tests/media_player/playback/playback_fakes.h"
#include "tests/support/clips.h"
#include "tests/support/log_capture.h"

namespace zelvane::test {
namespace {

namespace fs = std::filesystem;

std::int64_t drainedSamples(AVCodecContext& decoder, AVFrame& frame) {
    std::int64_t count = 0;
    while (avcodec_receive_frame(&decoder, &frame) >= 0) {
        count += frame.nb_samples;
    }
    return count;
}

/// The samples of a stream of a file, by nothing but the library.
std::int64_t samplesByLibrary(const fs::path& path, unsigned streamIndex) {
    AVFormatContext* opened = nullptr;
    checkedFFmpegCall([&] { return avformat_open_input(&opened, path.c_str(), nullptr, nullptr); });
    const ffmpeg::InputContext input(opened);
    checkedFFmpegCall([&] { return avformat_find_stream_info(opened, nullptr); });
    const AVStream& stream = *opened->streams[streamIndex];
    const AVCodec* const codec = findDecoder(*stream.codecpar, AVMEDIA_TYPE_AUDIO);
    const auto decoder = makeDecoderContext(*stream.codecpar, codec, stream.time_base);
    openDecoder(codec, *decoder);
    const ffmpeg::Frame frame(av_frame_alloc());
    const ffmpeg::AVPacketHandle packet(av_packet_alloc());
    std::int64_t count = 0;
    while (av_read_frame(opened, packet.get()) >= 0) {
        if (packet->stream_index == static_cast<int>(streamIndex)) {
            avcodec_send_packet(decoder.get(), packet.get());
            count += drainedSamples(*decoder, *frame);
        }
        av_packet_unref(packet.get());
    }
    avcodec_send_packet(decoder.get(), nullptr);
    return count + drainedSamples(*decoder, *frame);
}

/// After a seek Musepack 7 leaves out 32 frames, and this sound of RealMedia ends with a packet.
bool isLostByTheLibrary(const fs::path& path) {
    return path.filename() == "mediafile_full.mpc" || path.filename() == "all-real_144.rm";
}

/// Returns whether the file has sound to compare.
bool expectAllSamples(const fs::path& path) {
    const MainQueueScope main;
    std::shared_ptr<MediaSource> source;
    try {
        source = MediaSource::open(URL::fromPath(path), CMTime(10, 1), false);
    } catch (const MediaSource::LoadError&) {
        return false;
    }
    for (const auto& track : source->audioTracks()) {
        const std::int64_t expected = samplesByLibrary(path, track->streamIndex());
        const auto renderer = std::make_shared<FakeRenderer>();
        const auto provider = std::make_shared<AudioDataProvider>(source, renderer);
        // The context is where opening left it for the first track only.
        if (track == source->audioTracks().front()) {
            provider->perform(true, [&] { provider->setAudioTrack(track); });
            main.settle();
            EXPECT_EQ(renderer->sampleCount(), expected) << path << ", straight";
        }
        provider->perform(true, [&] {
            provider->setAudioTrack(track);
            provider->seek(source->startTime(), dispatch::mainQueue(), [] {});
        });
        main.settle();
        if (isLostByTheLibrary(path)) {
            continue;
        }
        // What a codec gives before the start is left out only once.
        EXPECT_GE(renderer->sampleCount(), expected) << path << ", stream " << track->streamIndex();
        EXPECT_LE(renderer->sampleCount(), expected + 1024) << path;
    }
    return !source->audioTracks().empty();
}

TEST(AllSound, ofTheSharedMediaReachesTheRenderer) {
    ZELVANE_NEEDS_SHARED_MEDIA(media);
    const LogCapture log;
    int count = 0;
    for (const char* folder : {"codecs", "containers", "metadata", "seeking"}) {
        for (const auto& entry : fs::recursive_directory_iterator(media / folder)) {
            count += entry.is_regular_file() && expectAllSamples(entry.path()) ? 1 : 0;
        }
    }
    EXPECT_GT(count, 100);
}

/// "<codec and its options> <extension of the file>".
constexpr const char* kCodecs[] = {
    "aac m4a",
    "aac ts",
    "ac3 ac3",
    "ac3_fixed mkv",
    "adpcm_adx adx",
    "adpcm_ima_qt mov",
    "adpcm_ima_wav wav",
    "adpcm_ms wav",
    "adpcm_swf -ar 44100 flv",
    "adpcm_yamaha mkv",
    "alac m4a",
    "aptx aptx",
    "aptx_hd aptxhd",
    "dca dts",
    "dca mkv",
    "dfpwm dfpwm",
    "eac3 mp4",
    "flac ogg",
    "g722 wav",
    "g726 -ar 8000 wav",
    "g726le -ar 8000 au",
    "libcodec2 -ar 8000 c2",
    "libgsm -ar 8000 gsm",
    "libgsm_ms -ar 8000 wav",
    "libmp3lame mp3",
    "libopus webm",
    "libshine mkv",
    "libspeex -ar 16000 ogg",
    "libtwolame ts",
    "libvorbis oga",
    "mlp mkv",
    "mp2 mpg",
    "mp2fixed mp2",
    "nellymoser -ar 44100 flv",
    "opus opus",
    "pcm_alaw mov",
    "pcm_bluray m2ts",
    "pcm_dvd vob",
    "pcm_f32be mov",
    "pcm_f64le mkv",
    "pcm_mulaw mkv",
    "pcm_s16be aiff",
    "pcm_s24le mkv",
    "pcm_s32le mkv",
    "pcm_s64le mov",
    "pcm_u8 mkv",
    "real_144 -ar 8000 rm",

    "sbc sbc",

    "truehd mkv",
    "tta tta",
    "vorbis -ac 2 ogg",
    "wavpack wv",
    "wmav1 wma",
    "wmav2 asf",
    "wmav2 wav",
};

TEST(AllSound, ofEveryCodecReachesTheRenderer) {
    const LogCapture log;
    for (const std::string codec : kCodecs) {
        const auto extension = codec.rfind(' ');
        const std::string name =
            fmt::format("all-{}.{}", codec.substr(0, codec.find(' ')), codec.substr(extension + 1));
        const auto clip =
            madeClip(name, "-f lavfi -i anoisesrc=d=1:a=0.3:r=48000:seed=7 -strict -2 -c:a " +
                               codec.substr(0, extension));
        EXPECT_TRUE(expectAllSamples(clip)) << codec;
    }
}

struct Container {
    /// "<name>.<extension>".
    const char* name;
    const char* coding;
};

constexpr Container kContainers[] = {
    {"whole.mp4", "libx264 -preset ultrafast -c:a aac"},
    {"fragments.mp4", "libx264 -preset ultrafast -c:a aac -movflags frag_keyframe+empty_moov"},
    {"pcm.mov", "libx264 -preset ultrafast -c:a pcm_s16le"},
    {"vorbis.mkv", "libx264 -preset ultrafast -c:a libvorbis"},
    {"opus.webm", "libvpx -deadline realtime -c:a libopus"},
    {"mp3.avi", "mpeg4 -c:a libmp3lame"},
    {"aac.flv", "libx264 -preset ultrafast -c:a aac"},
    {"aac.ts", "libx264 -preset ultrafast -c:a aac"},
    {"ac3.m2ts", "libx264 -preset ultrafast -c:a ac3"},
    {"mp2.mpg", "mpeg2video -c:a mp2"},
    {"wma.wmv", "wmv2 -c:a wmav2"},
    {"vorbis.ogv", "libtheora -c:a libvorbis"},
    {"flac.nut", "mpeg4 -c:a flac"},
    {"aac.3gp", "h263 -s 176x144 -c:a aac"},
    {"pcm.mxf", "mpeg2video -c:a pcm_s16le"},
    {"ac3.rm", "rv10 -c:a ac3"},
};

/// Seconds at which pictures and sound begin, and how long each lasts.
struct Course {
    const char* name;
    double pictureBegin;
    double pictureLength;
    double soundBegin;
    double soundLength;
    const char* more = "";
};

constexpr Course kCourses[] = {
    {"late-picture", 1.72, 2, 0, 4},
    {"late-sound", 0, 4, 1.5, 2},
    {"early-end", 0, 4, 0, 1},
    {"no-key-picture-first", 0, 4, 0, 4, "-bsf:v noise=drop=not(n)"},
};

TEST(AllSound, reachesTheRendererWhereverItBegins) {
    const LogCapture log;
    for (const auto& container : kContainers) {
        for (const auto& course : kCourses) {
            const auto clip = madeClip(
                fmt::format("{}-{}", course.name, container.name),
                fmt::format("-itsoffset {} -f lavfi -i testsrc2=s=64x48:r=25:d={} -itsoffset {} -f "
                            "lavfi -i anoisesrc=d={}:a=0.3:r=48000:seed=7 -g 75 "
                            "-pix_fmt yuv420p -ac 2 {} -c:v {}",
                            course.pictureBegin, course.pictureLength, course.soundBegin,
                            course.soundLength, course.more, container.coding));
            EXPECT_TRUE(expectAllSamples(clip)) << clip;
        }
    }
}

} // namespace
} // namespace zelvane::test
