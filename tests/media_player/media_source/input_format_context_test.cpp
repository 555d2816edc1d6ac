// SPDX-License-Identifier: GPL-3.0-or-later
#include <limits>
#include <span>
#include <utility>
#include <vector>

#include <fmt/format.h>
#include <gtest/gtest.h>

#include "media_player/media_source/packet_reading.h"
#include "media_player/media_source/picture_headers.h"
#include "tests/media_player/media_source/media_source_support.h"
#include "tests/support/log_capture.h"

namespace zelvane {
namespace {

namespace fs = std::filesystem;

const AVStream* firstStream(const AVFormatContext& context, AVMediaType mediaType) {
    for (const AVStream* stream : std::span(context.streams, context.nb_streams)) {
        if (stream->codecpar->codec_type == mediaType) {
            return stream;
        }
    }
    return nullptr;
}

bool isPicture(const AVStream* stream) {
    return stream != nullptr && (stream->disposition & AV_DISPOSITION_ATTACHED_PIC) == 0;
}

/// What a sound decoder is opened with, and the first packets after two seeks.
std::string soundOf(AVFormatContext& context) {
    const AVStream* const stream = firstStream(context, AVMEDIA_TYPE_AUDIO);
    if (stream == nullptr) {
        return "none";
    }
    const AVCodecParameters& parameters = *stream->codecpar;
    std::string text = fmt::format(
        "{} {} {} {} {} {} {} {}", static_cast<int>(parameters.codec_id), parameters.format,
        parameters.sample_rate, parameters.ch_layout.nb_channels, parameters.frame_size,
        parameters.profile, parameters.initial_padding, parameters.extradata_size);
    for (const CMTime& target : {kCMTimeZero, CMTime(1, 2)}) {
        setEnabledStreams({stream->index}, context);
        seek(context, target);
        for (int count = 0; count < 5; ++count) {
            if (const auto packet = readPacket({stream->index}, context)) {
                text += fmt::format(" {}/{}", packet->avPacket().pts, packet->avPacket().size);
            }
        }
    }
    return text;
}

TEST(InputFormatContext, theAudioContextOfAMovieFileDecodesNoPictures) {
    for (const auto& [container, decodes] : {std::pair<std::string, bool>{"mp4", false},
                                             {"mov", false},
                                             {"mkv", true},
                                             {"ts", true}}) {
        SCOPED_TRACE(container);
        const auto clip = test::madeClip(
            "opening." + container, {"-f", "lavfi", "-i", "testsrc2=s=64x48:d=1", "-f", "lavfi",
                                     "-i", "sine=d=1", "-c:v", "libx264", "-c:a", "aac"});
        const auto contexts = makeInputFormatContexts(URL::fromPath(clip));
        const auto& visual = *firstStream(*contexts.visual, AVMEDIA_TYPE_VIDEO)->codecpar;
        const auto& audio = *firstStream(*contexts.audio, AVMEDIA_TYPE_VIDEO)->codecpar;
        EXPECT_EQ(visual.format, AV_PIX_FMT_YUV420P);
        EXPECT_EQ(audio.format, decodes ? AV_PIX_FMT_YUV420P : AV_PIX_FMT_NONE);
        EXPECT_TRUE(isSameContainer(*contexts.visual, *contexts.audio));
    }
}

TEST(InputFormatContext, omittingPicturesChangesNoSound) {
    ZELVANE_NEEDS_SHARED_MEDIA(media);
    const test::LogCapture log;
    int count = 0;
    for (const char* folder : {"codecs", "containers", "seeking", "rotated", "hdr"}) {
        for (const auto& entry : fs::directory_iterator(media / folder)) {
            const auto extension = entry.path().extension();
            if (extension != ".mp4" && extension != ".mov" && extension != ".m4v") {
                continue;
            }
            SCOPED_TRACE(entry.path());
            const URL url = URL::fromPath(entry.path());
            const auto whole = makeInputFormatContext(url);
            const auto contexts = makeInputFormatContexts(url);
            EXPECT_TRUE(isSameContainer(*contexts.visual, *contexts.audio));
            EXPECT_EQ(soundOf(*contexts.audio), soundOf(*whole));
            count += isPicture(firstStream(*contexts.audio, AVMEDIA_TYPE_VIDEO)) ? 1 : 0;
        }
    }
    EXPECT_GT(count, 30);
}

/// All parameters of a demuxer's streams.
std::string allOf(const AVFormatContext& context) {
    auto text = fmt::format("{} {} {}", context.start_time, context.duration, context.bit_rate);
    for (const AVStream* stream : std::span(context.streams, context.nb_streams)) {
        const AVCodecParameters& coding = *stream->codecpar;
        const auto rational = [](const AVRational& value) {
            return fmt::format("{}/{}", value.num, value.den);
        };
        text += fmt::format(
            "\n{}: {} {} {} {} {} {} {} | {} {} {} {} {} {} {}x{} {} {} {} {} {} {} {} {} {} {} {} "
            "| "
            "{} {} {} {}",
            stream->index, stream->start_time, stream->duration, stream->nb_frames,
            stream->disposition, rational(stream->avg_frame_rate), rational(stream->r_frame_rate),
            rational(stream->sample_aspect_ratio), static_cast<int>(coding.codec_id),
            coding.codec_tag, coding.format, coding.bit_rate, coding.profile, coding.level,
            coding.width, coding.height, rational(coding.sample_aspect_ratio),
            static_cast<int>(coding.field_order), static_cast<int>(coding.color_range),
            static_cast<int>(coding.color_primaries), static_cast<int>(coding.color_trc),
            static_cast<int>(coding.color_space), static_cast<int>(coding.chroma_location),
            coding.video_delay, coding.bits_per_raw_sample, coding.bits_per_coded_sample,
            std::string(reinterpret_cast<const char*>(coding.extradata),
                        static_cast<std::size_t>(coding.extradata_size)),
            coding.sample_rate, coding.ch_layout.nb_channels, coding.frame_size,
            coding.initial_padding);
    }
    return text;
}

/// Opens and probes as the library does.
ffmpeg::InputContext probed(const fs::path& path) {
    AVFormatContext* context = avformat_alloc_context();
    context->probesize = std::numeric_limits<std::int64_t>::max();
    if (avformat_open_input(&context, path.c_str(), nullptr, nullptr) < 0) {
        return nullptr;
    }
    ffmpeg::InputContext opened(context);
    opened->max_analyze_duration = std::numeric_limits<std::int64_t>::max();
    return avformat_find_stream_info(opened.get(), nullptr) < 0 ? nullptr : std::move(opened);
}

/// Whether headers of pictures were read.
bool comparesWithProbing(const fs::path& path) {
    SCOPED_TRACE(path);
    const auto whole = probed(path);
    if (whole == nullptr) {
        return false;
    }
    const auto ours = makeInputFormatContext(URL::fromPath(path));
    EXPECT_EQ(allOf(*ours), allOf(*whole));
    return PictureHeaders::areWorthReading(*ours);
}

TEST(PictureHeaders, ofMadeClipsEqualTheResultOfProbing) {
    const std::vector<std::pair<std::string, std::string>> clips{
        {"b.mp4", "-c:v libx264 -bf 3"},
        {"no_b.mp4", "-c:v libx264 -bf 0"},
        {"interlaced.mov", "-c:v libx264 -flags +ildct+ilme -colorspace smpte170m"},
        {"wide.mp4", "-c:v libx264 -pix_fmt yuv422p10le -aspect 3:1"},
        {"late.mp4", "-c:v libx264 -output_ts_offset 3"},
        {"profile2.webm", "-c:v libvpx-vp9 -pix_fmt yuv420p10le -deadline realtime -cpu-used 8"},
        {"full.mp4", "-c:v libvpx-vp9 -color_range pc -deadline realtime -cpu-used 8"},
        {"short.mkv", "-c:v libx264"}};
    for (const auto& [name, coding] : clips) {
        const auto clip =
            test::madeClip("headers_" + name,
                           "-f lavfi -i testsrc2=s=128x72:d=1:r=24 -f lavfi -i "
                           "sine=d=1 -c:a " +
                               std::string(name.ends_with("webm") ? "libopus " : "aac ") + coding);
        EXPECT_EQ(comparesWithProbing(clip), name != "short.mkv");
    }
}

TEST(PictureHeaders, ofSharedMediaEqualTheResultOfProbing) {
    ZELVANE_NEEDS_SHARED_MEDIA(media);
    const test::LogCapture log;
    int count = 0;
    for (const char* folder : {"broken", "codecs", "containers", "seeking", "rotated", "hdr"}) {
        for (const auto& entry : fs::directory_iterator(media / folder)) {
            const auto extension = entry.path().extension();
            if (extension == ".mp4" || extension == ".mov" || extension == ".m4v" ||
                extension == ".webm" || extension == ".ivf") {
                count += comparesWithProbing(entry.path()) ? 1 : 0;
            }
        }
    }
    EXPECT_GT(count, 40);
}

TEST(PictureHeaders, areKnownBeforeProbing) {
    const auto clip = test::madeClip("headers_lone.webm", "-f lavfi -i testsrc2=s=128x72:d=0.1 "
                                                          "-c:v libvpx-vp9 -pix_fmt yuv444p");
    AVFormatContext* opened = nullptr;
    ASSERT_GE(avformat_open_input(&opened, clip.c_str(), nullptr, nullptr), 0);
    const ffmpeg::InputContext context(opened);
    AVFormatContext* openedAgain = nullptr;
    ASSERT_GE(avformat_open_input(&openedAgain, clip.c_str(), nullptr, nullptr), 0);
    const ffmpeg::InputContext ahead(openedAgain);
    ASSERT_EQ(context->streams[0]->codecpar->format, AV_PIX_FMT_NONE);
    PictureHeaders(*ahead).applyTo(*context);
    EXPECT_EQ(context->streams[0]->codecpar->format, AV_PIX_FMT_YUV444P);
    EXPECT_EQ(context->streams[0]->codecpar->profile, FF_PROFILE_VP9_1);
}

} // namespace
} // namespace zelvane
